#include "session/WalletSession.h"

#include "jni/PendingException.h"
#include "session/installationLink.h"
#include "wallet/WalletOwner.h"

namespace Orvanta_OvWallet {
namespace {

constexpr const char* kJobContext = "org/apache/hadoop/mapreduce/JobContext";
constexpr const char* kPlugInConfiguration =
    "com/orvanta/connector/orvanta/utils/OrvantaPlugInConfiguration";
constexpr const char* kStandardCharsets = "com/orvanta/connector/common/utils/StandardCharsets";
constexpr const char* kString = "java/lang/String";

jclass findClass(JNIEnv* env, const char* name) {
    const jclass found = env->FindClass(name);
    raiseIfPending(env);
    return found;
}

jmethodID findMethod(JNIEnv* env, jclass owner, const char* name, const char* signature) {
    const jmethodID found = env->GetMethodID(owner, name, signature);
    raiseIfPending(env);
    return found;
}

jobject configurationOf(JNIEnv* env, jobject jobContext) {
    const jclass jobContextClass = findClass(env, kJobContext);
    const jmethodID getConfiguration = findMethod(env, jobContextClass, "getConfiguration",
                                                  "()Lorg/apache/hadoop/conf/Configuration;");
    const jobject configuration = env->CallObjectMethod(jobContext, getConfiguration);
    raiseIfPending(env);
    return configuration;
}

jobject utf8CharsetOf(JNIEnv* env, jclass charsetsClass) {
    const jfieldID field =
        env->GetStaticFieldID(charsetsClass, "UTF_8", "Ljava/nio/charset/Charset;");
    raiseIfPending(env);
    return env->GetStaticObjectField(charsetsClass, field);
}

}  // namespace

WalletSession::WalletSession(JNIEnv* callerEnv, jobject callerJobContext,
                             jstring callerPrivateTempDir)
    : env(callerEnv), jobContext(callerJobContext), privateTempDir(callerPrivateTempDir) {
    if (jobContext == nullptr) {
        raiseNullPointerException(env, "The job context is null.");
    }
    configuration = configurationOf(env, jobContext);
    plugInConfigurationClass = findClass(env, kPlugInConfiguration);
    charsetsClass = findClass(env, kStandardCharsets);
    utf8Charset = utf8CharsetOf(env, charsetsClass);
    stringClass = findClass(env, kString);
    getBytesMethod = findMethod(env, stringClass, "getBytes", "(Ljava/nio/charset/Charset;)[B");
    establishInstallationLink(env, privateTempDir);
    walletHandle = openWallet();
}

}  // namespace Orvanta_OvWallet
