#include "tool/doctor/JobTable.h"

#include <algorithm>
#include <cstdarg>
#include <list>

namespace Orvanta_OvWallet::Tool {
namespace {

// What a call left behind. JNI has no room for an argument of ours but the environment, so there
// is one.
struct Call {
    std::string directory;
    std::list<std::string> classes;  // by the address of an element a class is known
    Thrown thrown;
    bool pending = false;
};
Call* current = nullptr;

// Stands for every object whose contents nobody looks at.
char anything;

jmethodID someMethod() {
    return reinterpret_cast<jmethodID>(&anything);
}

jclass JNICALL findClass(JNIEnv*, const char* name) {
    current->classes.emplace_back(name);
    return reinterpret_cast<jclass>(&current->classes.back());
}
jthrowable JNICALL exceptionOccurred(JNIEnv*) {
    return current->pending ? reinterpret_cast<jthrowable>(&anything) : nullptr;
}
jboolean JNICALL exceptionCheck(JNIEnv*) {
    return current->pending ? JNI_TRUE : JNI_FALSE;
}
void JNICALL exceptionClear(JNIEnv*) {
    current->pending = false;
    current->thrown = {};
}
jint JNICALL throwNew(JNIEnv*, jclass thrownClass, const char* message) {
    const auto* const name = reinterpret_cast<const std::string*>(thrownClass);
    current->thrown = {*name, message};
    std::replace(current->thrown.className.begin(), current->thrown.className.end(), '/', '.');
    current->pending = true;
    return 0;
}
void JNICALL deleteLocalRef(JNIEnv*, jobject) {}
jmethodID JNICALL getMethodId(JNIEnv*, jclass, const char*, const char*) {
    return someMethod();
}
jobject JNICALL callObjectMethod(JNIEnv*, jobject, jmethodID, std::va_list) {
    return reinterpret_cast<jobject>(&anything);
}
jfieldID JNICALL getStaticFieldId(JNIEnv*, jclass, const char*, const char*) {
    return reinterpret_cast<jfieldID>(&anything);
}
jobject JNICALL getStaticObjectField(JNIEnv*, jclass, jfieldID) {
    return reinterpret_cast<jobject>(&anything);
}
// A job without any property: every getter gives null.
jobject JNICALL callStaticObjectMethod(JNIEnv*, jclass, jmethodID, std::va_list) {
    return nullptr;
}
void JNICALL callStaticVoidMethod(JNIEnv*, jclass, jmethodID, std::va_list) {}
const char* JNICALL getStringUtfChars(JNIEnv*, jstring, jboolean*) {
    return current->directory.c_str();
}
void JNICALL releaseStringUtfChars(JNIEnv*, jstring, const char*) {}
jsize JNICALL getArrayLength(JNIEnv*, jarray) {
    return 0;
}
void JNICALL getByteArrayRegion(JNIEnv*, jbyteArray, jsize, jsize, jbyte*) {}
jbyteArray JNICALL newByteArray(JNIEnv*, jsize) {
    return reinterpret_cast<jbyteArray>(&anything);
}
void JNICALL setByteArrayRegion(JNIEnv*, jbyteArray, jsize, jsize, const jbyte*) {}

JNINativeInterface_ makeTable() {
    JNINativeInterface_ table{};
    table.FindClass = findClass;
    table.ExceptionOccurred = exceptionOccurred;
    table.ExceptionCheck = exceptionCheck;
    table.ExceptionClear = exceptionClear;
    table.ThrowNew = throwNew;
    table.DeleteLocalRef = deleteLocalRef;
    table.GetMethodID = getMethodId;
    table.GetStaticMethodID = getMethodId;
    table.CallObjectMethodV = callObjectMethod;
    table.GetStaticFieldID = getStaticFieldId;
    table.GetStaticObjectField = getStaticObjectField;
    table.CallStaticObjectMethodV = callStaticObjectMethod;
    table.CallStaticVoidMethodV = callStaticVoidMethod;
    table.GetStringUTFChars = getStringUtfChars;
    table.ReleaseStringUTFChars = releaseStringUtfChars;
    table.GetArrayLength = getArrayLength;
    table.GetByteArrayRegion = getByteArrayRegion;
    table.NewByteArray = newByteArray;
    table.SetByteArrayRegion = setByteArrayRegion;
    return table;
}

}  // namespace

Thrown callWithEmptyJob(PerformSubstitutions entryPoint, const std::string& privateDirectory) {
    Call call{privateDirectory, {}, {}, false};
    current = &call;
    const JNINativeInterface_ table = makeTable();
    JNIEnv env{&table};
    entryPoint(&env, reinterpret_cast<jclass>(&anything), reinterpret_cast<jobject>(&anything),
               reinterpret_cast<jstring>(&anything));
    current = nullptr;
    return call.pending ? call.thrown : Thrown{};
}

}  // namespace Orvanta_OvWallet::Tool
