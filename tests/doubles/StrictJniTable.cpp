#include <cstdio>
#include <cstdlib>

#include "doubles/FailingHeap.h"
#include "doubles/StrictJni.h"

namespace {

template <std::size_t Size>
struct FunctionName {
    char text[Size];
    // NOLINTNEXTLINE(google-explicit-constructor): made from a literal in a template argument.
    constexpr FunctionName(const char (&literal)[Size]) {
        for (std::size_t i = 0; i < Size; ++i) {
            text[i] = literal[i];
        }
    }
};

[[noreturn]] void endAt(const char* function) {
    std::fprintf(stderr, "The JNI function %s is none that the library uses.\n", function);
    std::abort();
}

template <FunctionName Name, typename Result, typename... Arguments>
Result JNICALL unused(Arguments...) {
    endAt(Name.text);
}

template <FunctionName Name, typename Result, typename... Arguments>
Result JNICALL unusedVariadic(Arguments..., ...) {
    endAt(Name.text);
}

template <FunctionName Name, typename Result, typename... Arguments>
void fillUnused(Result(JNICALL*& slot)(Arguments...)) {
    slot = unused<Name, Result, Arguments...>;
}

template <FunctionName Name, typename Result, typename... Arguments>
void fillUnused(Result(JNICALL*& slot)(Arguments..., ...)) {
    slot = unusedVariadic<Name, Result, Arguments...>;
}

void fillWithUnused(JNINativeInterface_& table) {
#define JNI_FUNCTION(name) fillUnused<#name>(table.name);
#include "doubles/JniFunctionNames.def"
}

}  // namespace

// One JNI call. The JVM's memory is not the library's.
class StrictJni::Entered {
  public:
    explicit Entered(JNIEnv* env) : jvm_(static_cast<Environment*>(env)->jvm) {}
    StrictJni* operator->() const { return jvm_; }

  private:
    FailingHeap::Pause pause_;
    StrictJni* jvm_;
};

const JNINativeInterface_& StrictJni::functionTable() {
    static const JNINativeInterface_ table = [] {
        JNINativeInterface_ functions{};
        fillWithUnused(functions);
        functions.FindClass = [](JNIEnv* env, const char* name) {
            return Entered(env)->findClass(name);
        };
        functions.ThrowNew = [](JNIEnv* env, jclass type, const char* message) {
            return Entered(env)->throwNew(type, message);
        };
        functions.ExceptionClear = [](JNIEnv* env) { Entered(env)->exceptionClear(); };
        functions.ExceptionCheck = [](JNIEnv* env) { return Entered(env)->exceptionCheck(); };
        functions.DeleteLocalRef = [](JNIEnv* env, jobject reference) {
            Entered(env)->deleteLocalRef(reference);
        };
        functions.GetMethodID = [](JNIEnv* env, jclass owner, const char* name,
                                   const char* signature) {
            return Entered(env)->getMethodID(owner, name, signature, false);
        };
        functions.GetStaticMethodID = [](JNIEnv* env, jclass owner, const char* name,
                                         const char* signature) {
            return Entered(env)->getMethodID(owner, name, signature, true);
        };
        functions.GetStaticFieldID = [](JNIEnv* env, jclass owner, const char* name,
                                        const char* signature) {
            return Entered(env)->getStaticFieldID(owner, name, signature);
        };
        functions.GetStaticObjectField = [](JNIEnv* env, jclass owner, jfieldID field) {
            return Entered(env)->getStaticObjectField(owner, field);
        };
        functions.CallObjectMethodV = [](JNIEnv* env, jobject receiver, jmethodID method,
                                         std::va_list arguments) {
            return Entered(env)->callObjectMethod(receiver, method, arguments);
        };
        functions.CallStaticObjectMethodV = [](JNIEnv* env, jclass owner, jmethodID method,
                                               std::va_list arguments) {
            return Entered(env)->callStaticMethod("CallStaticObjectMethodV", 'L', owner, method,
                                                  arguments);
        };
        functions.CallStaticVoidMethodV = [](JNIEnv* env, jclass owner, jmethodID method,
                                             std::va_list arguments) {
            Entered(env)->callStaticMethod("CallStaticVoidMethodV", 'V', owner, method, arguments);
        };
        functions.GetStringUTFChars = [](JNIEnv* env, jstring string, jboolean* isCopy) {
            return Entered(env)->getStringUTFChars(string, isCopy);
        };
        functions.ReleaseStringUTFChars = [](JNIEnv* env, jstring string, const char* characters) {
            Entered(env)->releaseStringUTFChars(string, characters);
        };
        functions.GetArrayLength = [](JNIEnv* env, jarray array) {
            return Entered(env)->getArrayLength(array);
        };
        functions.NewByteArray = [](JNIEnv* env, jsize length) {
            return Entered(env)->newByteArrayCall(length);
        };
        functions.GetByteArrayRegion = [](JNIEnv* env, jbyteArray array, jsize start, jsize length,
                                          jbyte* destination) {
            Entered(env)->byteArrayRegion("GetByteArrayRegion", array, start, length, nullptr,
                                          destination);
        };
        functions.SetByteArrayRegion = [](JNIEnv* env, jbyteArray array, jsize start, jsize length,
                                          const jbyte* source) {
            Entered(env)->byteArrayRegion("SetByteArrayRegion", array, start, length, source,
                                          nullptr);
        };
        return functions;
    }();
    return table;
}
