#include "jni/JavaLangThrowable.h"

namespace {

constexpr const char* kNullPointerException = "java/lang/NullPointerException";
constexpr const char* kConnectorException =
    "com/orvanta/connector/common/exception/ConnectorException";

void leaveException(JNIEnv* env, const char* className, const char* message) {
    const jclass exceptionClass = env->FindClass(className);
    if (exceptionClass != nullptr) {
        env->ThrowNew(exceptionClass, message);
    }
}

}  // namespace

void raiseIfPending(JNIEnv* env) {
    if (env->ExceptionCheck() != JNI_FALSE) {
        throw JavaLangThrowable{};
    }
}

void raiseNullPointerException(JNIEnv* env, const char* message) {
    leaveException(env, kNullPointerException, message);
    throw JavaLangThrowable{};
}

void leaveConnectorException(JNIEnv* env, const char* message) {
    env->ExceptionClear();
    leaveException(env, kConnectorException, message);
}
