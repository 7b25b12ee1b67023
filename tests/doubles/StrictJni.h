// A JNI environment without a JVM, which records every call and forgives none.
//
// Each JNI call is recorded with its arguments, in order, as a line of text such as
// "GetStaticFieldID(StandardCharsets, UTF_8, Ljava/nio/charset/Charset;)". What JNI forbids is a
// failure of the running test: a call while an exception is pending (unless it is one of the few
// that are allowed then), a call after one that may have left an exception without looking for it,
// null, dead or wrong references and ids, arguments of another class than the method takes, regions
// outside of an array, UTF characters that are not given back, more than 16 local references,
// another thread than the environment's. A function that the library does not use ends the program
// with its name.
//
//     StrictJni jvm;
//     const std::string thrown = jvm.inNativeFrame([&] { raiseIfPending(jvm.env()); });
//     EXPECT_EQ(jvm.takeCalls(), (std::vector<std::string>{"ExceptionCheck()"}));
//
// One thread per object. ConnectorJob fills it with the connector's classes.
#pragma once

#include <jni.h>

#include <cstdarg>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "doubles/JavaObjects.h"

class StrictJni {
  public:
    // Knows the classes of java/lang that any JVM has and the library or this double needs.
    StrictJni();
    ~StrictJni();
    StrictJni(const StrictJni&) = delete;
    StrictJni& operator=(const StrictJni&) = delete;

    JNIEnv* env() { return &environment_; }

    // ---- The world. Names have slashes.
    JavaClass& defineClass(const std::string& name,
                           const std::string& superclass = "java/lang/Object");
    void removeClass(const std::string& name);
    void defineMethod(const std::string& className, const std::string& name,
                      const std::string& signature, bool isStatic, JavaMethodBody body);
    void removeMethod(const std::string& className, const std::string& name);
    void defineStaticField(const std::string& className, const std::string& name,
                           const std::string& signature, JavaObject* value);
    void removeStaticField(const std::string& className, const std::string& name);

    // Objects live as long as this StrictJni.
    JavaObject* newObject(const std::string& className, const std::string& label,
                          const std::string& bytes = "");
    JavaObject* newString(const std::string& text, const std::string& label);
    JavaObject* newByteArray(const std::string& elements, const std::string& label);

    // A local reference as the JVM hands one to native code; null for null. It dies with the native
    // frame in which it was made.
    template <typename Type = jobject>
    Type reference(JavaObject* object) {
        return static_cast<Type>(object == nullptr ? nullptr : makeReference(object));
    }

    // ---- Native calls and their outcome.

    // Runs body as the JVM runs a native method, and returns the Java exception that it left
    // pending, "CLASS: MESSAGE", or "" for none, and clears it. All local references made meanwhile
    // are dead afterwards.
    std::string inNativeFrame(const std::function<void()>& body);

    // Leaves a Java exception pending.
    void throwJava(const std::string& className, const std::string& message);
    // As inNativeFrame returns it; nothing is cleared.
    std::string pendingException() const { return pending_.value_or(""); }

    const std::vector<std::string>& calls() const { return calls_; }
    std::vector<std::string> takeCalls();

    // Called with the line of each JNI call, before the call does anything.
    std::function<void(const std::string& call)> onCall;

    // ---- Faults.

    // The k-th call from now on that can fail does so, 1 being the next: its result is null or
    // nothing, and unless silent the Java exception of such a failure is pending. A Java method
    // that fails does nothing and throws java/lang/RuntimeException "the Java method failed".
    enum class Failure { withException, silent };
    void failCall(std::uint64_t k, Failure failure = Failure::withException);
    // The line of the call that was made to fail; "" if none was yet.
    const std::string& failedCall() const { return failedCall_; }
    // Asked with the line of each call that can fail, whether and how it does.
    std::function<std::optional<Failure>(const std::string& call)> failing;

    // What was done wrong so far; each was also reported as a failure of the test.
    const std::vector<std::string>& violations() const { return violations_; }

  private:
    struct Environment : JNIEnv {
        StrictJni* jvm;
    };
    struct Reference : _jobject {
        JavaObject* object;
        bool alive;
        bool countsAsLocal;
    };
    enum class Rule { needsNoException, alwaysAllowed };

    // StrictJniTable.cpp
    class Entered;
    static const JNINativeInterface_& functionTable();

    // StrictJniCalls.cpp
    jclass findClass(const char* name);
    jint throwNew(jclass type, const char* message);
    void exceptionClear();
    jboolean exceptionCheck();
    void deleteLocalRef(jobject reference);
    jmethodID getMethodID(jclass owner, const char* name, const char* signature, bool isStatic);
    jfieldID getStaticFieldID(jclass owner, const char* name, const char* signature);
    jobject getStaticObjectField(jclass owner, jfieldID field);
    jobject callObjectMethod(jobject receiver, jmethodID method, std::va_list arguments);
    jobject callStaticMethod(const char* function, char resultType, jclass owner, jmethodID method,
                             std::va_list arguments);
    const char* getStringUTFChars(jstring string, jboolean* isCopy);
    void releaseStringUTFChars(jstring string, const char* characters);
    jsize getArrayLength(jarray array);
    jbyteArray newByteArrayCall(jsize length);
    void byteArrayRegion(const char* function, jbyteArray array, jsize start, jsize length,
                         const jbyte* source, jbyte* destination);

    // StrictJniRules.cpp
    void enter(const std::string& call, Rule rule);
    void violation(const std::string& text);
    bool failsNow(const std::string& exceptionClass, const std::string& message);
    JavaObject* target(jobject reference);
    JavaObject* target(jobject reference, const char* className);
    const JavaClass* targetClass(jclass reference);
    const JavaMethod* knownMethod(jmethodID method);
    std::string show(jobject reference) const;
    std::string show(jmethodID method) const;
    std::string showArguments(const std::vector<jobject>& arguments) const;
    std::vector<jobject> takeArguments(const JavaMethod* method, std::va_list arguments);
    JavaObject* invoke(const JavaMethod& method, JavaObject* receiver,
                       const std::vector<jobject>& arguments);
    jobject makeReference(JavaObject* object);
    jobject makeLocalReference(JavaObject* object);

    // StrictJni.cpp
    JavaClass* classNamed(const std::string& name) const;
    void reportUnreleasedCharacters();

    Environment environment_{};
    std::thread::id thread_ = std::this_thread::get_id();
    std::map<std::string, std::unique_ptr<JavaClass>> classes_;
    std::vector<std::unique_ptr<JavaClass>> removedClasses_;
    std::vector<std::unique_ptr<JavaObject>> objects_;
    std::vector<std::unique_ptr<Reference>> references_;
    std::set<const void*> methodIds_;
    std::set<const void*> fieldIds_;
    std::map<const char*, std::unique_ptr<char[]>> characters_;
    std::optional<std::string> pending_;
    std::string checkDue_;  // the call whose exception was not looked for yet
    std::vector<std::string> calls_;
    std::vector<std::string> violations_;
    std::uint64_t callsUntilFailure_ = 0;
    Failure failure_ = Failure::withException;
    std::string failedCall_;
};
