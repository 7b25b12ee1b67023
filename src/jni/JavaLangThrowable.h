// Java exceptions that a JNI call left pending, and JNI calls that are checked for them.
//
// While one is pending, JNI allows hardly any other call; the JVM may crash on them. So each JNI
// call that may leave one is made through checked(), or followed by raiseIfPending, unless its
// result tells.
#pragma once

#include <jni.h>

#include <type_traits>

// Thrown where a Java exception is pending: nothing is to be raised in its place.
//
// It has no base class so that no handler for std::exception catches it. The native call ends at
// once, objects are freed on the way, and the Java caller sees the pending exception.
struct JavaLangThrowable {};

// Throws JavaLangThrowable if a Java exception is pending.
void raiseIfPending(JNIEnv* env);

// Calls a JNI function, such as &JNIEnv::FindClass, and throws JavaLangThrowable if that left a
// Java exception pending.
template <typename Function, typename... Arguments>
auto checked(JNIEnv* env, Function function, Arguments... arguments) {
    if constexpr (std::is_void_v<decltype((env->*function)(arguments...))>) {
        (env->*function)(arguments...);
        raiseIfPending(env);
    } else {
        const auto result = (env->*function)(arguments...);
        raiseIfPending(env);
        return result;
    }
}

// Looks up a static method and calls it. Result is void or the type of the Java reference that the
// method returns, a local reference which may be null. Throws JavaLangThrowable as checked() does.
template <typename Result, typename... Arguments>
Result callStatic(JNIEnv* env, jclass owner, const char* name, const char* signature,
                  Arguments... arguments) {
    const jmethodID method = checked(env, &JNIEnv::GetStaticMethodID, owner, name, signature);
    if constexpr (std::is_void_v<Result>) {
        checked(env, &JNIEnv::CallStaticVoidMethod, owner, method, arguments...);
    } else {
        return static_cast<Result>(
            checked(env, &JNIEnv::CallStaticObjectMethod, owner, method, arguments...));
    }
}

// Leaves a NullPointerException with this message pending and throws JavaLangThrowable.
[[noreturn]] void raiseNullPointerException(JNIEnv* env, const char* message);

// Leaves a ConnectorException with this message, as it stands, pending, in place of any that was
// pending before. Without that class, the Java error that says so is left pending instead.
void leaveConnectorException(JNIEnv* env, const char* message);
