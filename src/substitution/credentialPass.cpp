#include "substitution/credentialPass.h"

#include <limits>
#include <memory>

#include "jni/JavaLangThrowable.h"
#include "jni/JniOwners.h"
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

std::unique_ptr<SecureByteVector> bytesOf(const WalletSession& session, jobject array) {
    auto bytes = SecureByteVector::fromJavaByteArray(session.env, static_cast<jbyteArray>(array));
    raiseIfPending(session.env);
    return bytes;
}

// Null when the side has no URL.
std::unique_ptr<SecureByteVector> readJdbcUrl(const WalletSession& session, const char* getter) {
    JNIEnv* const env = session.env;
    const auto url = callStatic<jstring>(env, session.plugInConfigurationClass, getter,
                                         kUrlGetterSignature, session.configuration);
    if (url == nullptr) {
        return nullptr;
    }
    return bytesOf(session, checked(env, &JNIEnv::CallObjectMethod, url, session.getBytesMethod,
                                    session.utf8Charset));
}

void writeProperty(const WalletSession& session, const char* setter, const SecureByteVector& text) {
    const jsize length = javaArrayLength(text.size());
    const LocalRef<jbyteArray> array(session.env, session.env->NewByteArray(length));
    if (array.get() == nullptr) {
        throw OvWalletException(kCannotAllocate);
    }
    checked(session.env, &JNIEnv::SetByteArrayRegion, array.get(), 0, length,
            reinterpret_cast<const jbyte*>(text.begin()));
    callStatic<void>(session.env, session.plugInConfigurationClass, setter, kSetterSignature,
                     session.jobContext, array.get());
}

}  // namespace

void runCredentialPass(const WalletSession& session, const JobSide& side) {
    // The parts point into the URL, so it lives until both properties are done.
    const std::unique_ptr<SecureByteVector> url = readJdbcUrl(session, side.urlGetter);
    const JdbcUrlParts parts =
        url == nullptr ? JdbcUrlParts{} : parseJdbcUrl({url->begin(), url->end()});
    substitute(session, side.userName, parts);
    substitute(session, side.password, parts);
}

void substitute(const WalletSession& session, const PropertyMethods& property,
                const JdbcUrlParts& url) {
    const auto array =
        callStatic<jbyteArray>(session.env, session.plugInConfigurationClass, property.getter,
                               kGetterSignature, session.jobContext);
    if (array == nullptr) {
        return;
    }
    const std::unique_ptr<SecureByteVector> text = bytesOf(session, array);
    expandReferences(*text, session.walletHandle, url);
    writeProperty(session, property.setter, *text);
}

jsize javaArrayLength(std::size_t size) {
    if (size > static_cast<std::size_t>(std::numeric_limits<jint>::max())) {
        throw OvWalletException(kTooLong);
    }
    return static_cast<jsize>(size);
}

}  // namespace Orvanta_OvWallet
