// Java exceptions that a JNI call left pending.
//
// While one is pending, JNI allows hardly any other call; the JVM may crash on them. So each JNI
// call that can leave one is followed by raiseIfPending.
#pragma once

#include <jni.h>

// Throws JavaLangThrowable if a Java exception is pending.
void raiseIfPending(JNIEnv* env);

// Leaves a NullPointerException with this message pending and throws JavaLangThrowable.
[[noreturn]] void raiseNullPointerException(JNIEnv* env, const char* message);

// Leaves a ConnectorException with this message, as it stands, pending, in place of any that was
// pending before. Without that class, the Java error that says so is left pending instead.
void leaveConnectorException(JNIEnv* env, const char* message);
