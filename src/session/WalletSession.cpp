#include "session/WalletSession.h"

#include "jni/JavaLangThrowable.h"
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
    return checked(env, &JNIEnv::FindClass, name);
}

jmethodID findMethod(JNIEnv* env, jclass owner, const char* name, const char* signature) {
    return checked(env, &JNIEnv::GetMethodID, owner, name, signature);
}

jobject configurationOf(JNIEnv* env, jobject jobContext) {
    const jmethodID getConfiguration =
        findMethod(env, findClass(env, kJobContext), "getConfiguration",
                   "()Lorg/apache/hadoop/conf/Configuration;");
    return checked(env, &JNIEnv::CallObjectMethod, jobContext, getConfiguration);
}

jobject utf8CharsetOf(JNIEnv* env, jclass charsetsClass) {
    const jfieldID field = checked(env, &JNIEnv::GetStaticFieldID, charsetsClass, "UTF_8",
                                   "Ljava/nio/charset/Charset;");
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
