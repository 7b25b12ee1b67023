#include "substitution/credentialPass.h"

#include <memory>

#include "jni/PendingException.h"
#include "securemem/SecureByteVector.h"
#include "substitution/JdbcUrl.h"
#include "substitution/propertySubstitution.h"

namespace Orvanta_OvWallet {
namespace {

constexpr const char* kUrlGetterSignature =
    "(Lorg/apache/hadoop/conf/Configuration;)Ljava/lang/String;";

// Null when the side has no URL.
std::unique_ptr<SecureByteVector> readJdbcUrl(const WalletSession& session,
                                              const std::string& side) {
    JNIEnv* const env = session.env;
    const std::string getter = "get" + side + "JdbcUrl";
    const jmethodID method = env->GetStaticMethodID(session.plugInConfigurationClass,
                                                    getter.c_str(), kUrlGetterSignature);
    raiseIfPending(env);
    const jobject url = env->CallStaticObjectMethod(session.plugInConfigurationClass, method,
                                                    session.configuration);
    raiseIfPending(env);
    if (url == nullptr) {
        return nullptr;
    }
    const auto bytes = static_cast<jbyteArray>(
        env->CallObjectMethod(url, session.getBytesMethod, session.utf8Charset));
    raiseIfPending(env);
    auto text = SecureByteVector::fromJavaByteArray(env, bytes);
    raiseIfPending(env);
    return text;
}

}  // namespace

void runCredentialPass(const WalletSession& session, const std::string& side) {
    const std::unique_ptr<SecureByteVector> url = readJdbcUrl(session, side);
    const JdbcUrlParts parts =
        url == nullptr ? JdbcUrlParts{} : parseJdbcUrl({url->begin(), url->end()});
    substitute(session, side, "OrvantaUserName", parts);
    substitute(session, side, "OrvantaPassword", parts);
}

}  // namespace Orvanta_OvWallet
