#include "substitution/propertySubstitution.h"

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

constexpr const char* kGetterSignature = "(Lorg/apache/hadoop/mapreduce/JobContext;)[B";
constexpr const char* kSetterSignature = "(Lorg/apache/hadoop/mapreduce/JobContext;[B)V";

jmethodID findAccessor(const WalletSession& session, const std::string& name,
                       const char* signature) {
    const jmethodID found =
        session.env->GetStaticMethodID(session.plugInConfigurationClass, name.c_str(), signature);
    raiseIfPending(session.env);
    return found;
}

// Null when the property is not set.
std::unique_ptr<SecureByteVector> readProperty(const WalletSession& session,
                                               const std::string& getter) {
    const jmethodID method = findAccessor(session, getter, kGetterSignature);
    const auto array = static_cast<jbyteArray>(session.env->CallStaticObjectMethod(
        session.plugInConfigurationClass, method, session.jobContext));
    raiseIfPending(session.env);
    if (array == nullptr) {
        return nullptr;
    }
    auto text = SecureByteVector::fromJavaByteArray(session.env, array);
    raiseIfPending(session.env);
    return text;
}

void writeProperty(const WalletSession& session, const std::string& setter,
                   const SecureByteVector& text) {
    const jsize length = javaArrayLength(text.size());
    const LocalRef<jbyteArray> array(session.env, session.env->NewByteArray(length));
    if (array.get() == nullptr) {
        throw OvWalletException(kCannotAllocate);
    }
    session.env->SetByteArrayRegion(array.get(), 0, length,
                                    reinterpret_cast<const jbyte*>(text.begin()));
    raiseIfPending(session.env);
    const jmethodID method = findAccessor(session, setter, kSetterSignature);
    session.env->CallStaticVoidMethod(session.plugInConfigurationClass, method, session.jobContext,
                                      array.get());
    raiseIfPending(session.env);
}

}  // namespace

void substitute(const WalletSession& session, const std::string& side, const std::string& property,
                const JdbcUrlParts& url) {
    const std::string name = side + property;
    const std::unique_ptr<SecureByteVector> text = readProperty(session, "get" + name);
    if (text == nullptr) {
        return;
    }
    expandReferences(*text, session.walletHandle, url);
    writeProperty(session, "set" + name, *text);
}

jsize javaArrayLength(std::size_t size) {
    if (size > static_cast<std::size_t>(std::numeric_limits<jint>::max())) {
        throw OvWalletException(kTooLong);
    }
    return static_cast<jsize>(size);
}

}  // namespace Orvanta_OvWallet
