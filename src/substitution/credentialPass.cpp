#include "substitution/credentialPass.h"

#include <limits>
#include <memory>

#include "jni/LocalRef.h"
#include "jni/PendingException.h"
#include "securemem/SecureByteVector.h"
#include "substitution/referenceExpansion.h"
#include "support/OvWalletException.h"

namespace Orvanta_OvWallet {
namespace {

constexpr const char* kTooLong = "Array is too long for Java.";
constexpr const char* kCannotAllocate = "Cannot allocate Java byte array.";

constexpr const char* kUrlGetterSignature =
    "(Lorg/apache/hadoop/conf/Configuration;)Ljava/lang/String;";
constexpr const char* kGetterSignature = "(Lorg/apache/hadoop/mapreduce/JobContext;)[B";
constexpr const char* kSetterSignature = "(Lorg/apache/hadoop/mapreduce/JobContext;[B)V";

jmethodID findAccessor(const WalletSession& session, const std::string& name,
                       const char* signature) {
    const jmethodID found =
        session.env->GetStaticMethodID(session.plugInConfigurationClass, name.c_str(), signature);
    raiseIfPending(session.env);
    return found;
}

// What a getter returns; null when it is not set.
jobject get(const WalletSession& session, const std::string& name, const char* signature,
            jobject source) {
    const jmethodID method = findAccessor(session, "get" + name, signature);
    const jobject found =
        session.env->CallStaticObjectMethod(session.plugInConfigurationClass, method, source);
    raiseIfPending(session.env);
    return found;
}

std::unique_ptr<SecureByteVector> bytesOf(const WalletSession& session, jobject array) {
    auto bytes = SecureByteVector::fromJavaByteArray(session.env, static_cast<jbyteArray>(array));
    raiseIfPending(session.env);
    return bytes;
}

// Null when the side has no URL.
std::unique_ptr<SecureByteVector> readJdbcUrl(const WalletSession& session,
                                              const std::string& side) {
    const jobject url = get(session, side + "JdbcUrl", kUrlGetterSignature, session.configuration);
    if (url == nullptr) {
        return nullptr;
    }
    const jobject array =
        session.env->CallObjectMethod(url, session.getBytesMethod, session.utf8Charset);
    raiseIfPending(session.env);
    return bytesOf(session, array);
}

void writeProperty(const WalletSession& session, const std::string& name,
                   const SecureByteVector& text) {
    const jsize length = javaArrayLength(text.size());
    const LocalRef<jbyteArray> array(session.env, session.env->NewByteArray(length));
    if (array.get() == nullptr) {
        throw OvWalletException(kCannotAllocate);
    }
    session.env->SetByteArrayRegion(array.get(), 0, length,
                                    reinterpret_cast<const jbyte*>(text.begin()));
    raiseIfPending(session.env);
    const jmethodID method = findAccessor(session, "set" + name, kSetterSignature);
    session.env->CallStaticVoidMethod(session.plugInConfigurationClass, method, session.jobContext,
                                      array.get());
    raiseIfPending(session.env);
}

}  // namespace

void runCredentialPass(const WalletSession& session, const std::string& side) {
    // The parts point into the URL, so it lives until both properties are done.
    const std::unique_ptr<SecureByteVector> url = readJdbcUrl(session, side);
    const JdbcUrlParts parts =
        url == nullptr ? JdbcUrlParts{} : parseJdbcUrl({url->begin(), url->end()});
    substitute(session, side, "OrvantaUserName", parts);
    substitute(session, side, "OrvantaPassword", parts);
}

void substitute(const WalletSession& session, const std::string& side, const std::string& property,
                const JdbcUrlParts& url) {
    const std::string name = side + property;
    const jobject array = get(session, name, kGetterSignature, session.jobContext);
    if (array == nullptr) {
        return;
    }
    const std::unique_ptr<SecureByteVector> text = bytesOf(session, array);
    expandReferences(*text, session.walletHandle, url);
    writeProperty(session, name, *text);
}

jsize javaArrayLength(std::size_t size) {
    if (size > static_cast<std::size_t>(std::numeric_limits<jint>::max())) {
        throw OvWalletException(kTooLong);
    }
    return static_cast<jsize>(size);
}

}  // namespace Orvanta_OvWallet
