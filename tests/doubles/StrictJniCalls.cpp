// The JNI functions that the library uses.

#include <cstring>

#include "doubles/StrictJni.h"

namespace {

std::string shown(const char* text) {
    return text == nullptr ? "null" : text;
}

char resultTypeOf(const std::string& signature) {
    const char first = signature[signature.find(')') + 1];
    return first == '[' ? 'L' : first;
}

// "Lname;" as "name", "[B" as it is; all parameters of the library's Java methods are of these.
std::vector<std::string> parameterTypes(const std::string& signature) {
    std::vector<std::string> types;
    for (std::size_t i = 1; signature[i] != ')';) {
        if (signature[i] == 'L') {
            const std::size_t end = signature.find(';', i);
            types.push_back(signature.substr(i + 1, end - i - 1));
            i = end + 1;
        } else {
            types.push_back(signature.substr(i, 2));
            i += 2;
        }
    }
    return types;
}

}  // namespace

jclass StrictJni::findClass(const char* name) {
    enter("FindClass(" + shown(name) + ")", Rule::needsNoException);
    if (name == nullptr) {
        violation("FindClass without a name");
        return nullptr;
    }
    if (failsNow("java/lang/NoClassDefFoundError", name)) {
        return nullptr;
    }
    const JavaClass* const found = classNamed(name);
    if (found == nullptr) {
        throwJava("java/lang/NoClassDefFoundError", name);
        return nullptr;
    }
    JavaObject* const object = newObject("java/lang/Class", found->simpleName());
    object->represented = found;
    return static_cast<jclass>(makeLocalReference(object));
}

jint StrictJni::throwNew(jclass type, const char* message) {
    enter("ThrowNew(" + show(type) + ", " + shown(message) + ")", Rule::needsNoException);
    const JavaClass* const thrown = targetClass(type);
    const JavaClass* const throwable = classNamed("java/lang/Throwable");
    if (thrown == nullptr) {
        return JNI_ERR;
    }
    if (!thrown->isOrExtends(*throwable)) {
        violation(thrown->name + " is no java/lang/Throwable in " + calls_.back());
        return JNI_ERR;
    }
    if (failsNow("java/lang/OutOfMemoryError", "Java heap space")) {
        return JNI_ERR;
    }
    throwJava(thrown->name, shown(message));
    return JNI_OK;
}

void StrictJni::exceptionClear() {
    enter("ExceptionClear()", Rule::alwaysAllowed);
    pending_.reset();
    checkDue_.clear();
}

jboolean StrictJni::exceptionCheck() {
    enter("ExceptionCheck()", Rule::alwaysAllowed);
    checkDue_.clear();
    return pending_ ? JNI_TRUE : JNI_FALSE;
}

void StrictJni::deleteLocalRef(jobject reference) {
    enter("DeleteLocalRef(" + show(reference) + ")", Rule::alwaysAllowed);
    if (target(reference) != nullptr) {
        static_cast<Reference*>(reference)->alive = false;
    }
}

jmethodID StrictJni::getMethodID(jclass owner, const char* name, const char* signature,
                                 bool isStatic) {
    enter(std::string(isStatic ? "GetStaticMethodID(" : "GetMethodID(") + show(owner) + ", " +
              shown(name) + ", " + shown(signature) + ")",
          Rule::needsNoException);
    const JavaClass* const type = targetClass(owner);
    if (type == nullptr || name == nullptr || signature == nullptr) {
        violation("null in " + calls_.back());
        return nullptr;
    }
    if (failsNow("java/lang/NoSuchMethodError", name)) {
        return nullptr;
    }
    for (const JavaMethod& method : type->methods) {
        if (method.name == name && method.signature == signature && method.isStatic == isStatic) {
            return reinterpret_cast<jmethodID>(const_cast<JavaMethod*>(&method));
        }
    }
    throwJava("java/lang/NoSuchMethodError", name);
    return nullptr;
}

jfieldID StrictJni::getStaticFieldID(jclass owner, const char* name, const char* signature) {
    enter("GetStaticFieldID(" + show(owner) + ", " + shown(name) + ", " + shown(signature) + ")",
          Rule::needsNoException);
    const JavaClass* const type = targetClass(owner);
    if (type == nullptr || name == nullptr || signature == nullptr) {
        violation("null in " + calls_.back());
        return nullptr;
    }
    if (failsNow("java/lang/NoSuchFieldError", name)) {
        return nullptr;
    }
    for (const JavaStaticField& field : type->staticFields) {
        if (field.name == name && field.signature == signature) {
            return reinterpret_cast<jfieldID>(const_cast<JavaStaticField*>(&field));
        }
    }
    throwJava("java/lang/NoSuchFieldError", name);
    return nullptr;
}

jobject StrictJni::getStaticObjectField(jclass owner, jfieldID field) {
    const auto* const found =
        fieldIds_.contains(field) ? reinterpret_cast<const JavaStaticField*>(field) : nullptr;
    enter("GetStaticObjectField(" + show(owner) + ", " +
              (found == nullptr ? "unknown" : found->name) + ")",
          Rule::needsNoException);
    const JavaClass* const type = targetClass(owner);
    if (found == nullptr || found->owner != type) {
        violation("no field id of the class in " + calls_.back());
        return nullptr;
    }
    return makeLocalReference(found->value);
}

std::vector<jobject> StrictJni::takeArguments(const JavaMethod* method, std::va_list arguments) {
    std::vector<jobject> taken;
    if (method != nullptr) {
        for (std::size_t i = parameterTypes(method->signature).size(); i > 0; --i) {
            taken.push_back(va_arg(arguments, jobject));
        }
    }
    return taken;
}

JavaObject* StrictJni::invoke(const JavaMethod& method, JavaObject* receiver,
                              const std::vector<jobject>& arguments) {
    const std::vector<std::string> types = parameterTypes(method.signature);
    std::vector<JavaObject*> objects;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        objects.push_back(arguments[i] == nullptr ? nullptr
                                                  : target(arguments[i], types[i].c_str()));
    }
    checkDue_ = method.name;
    if (failsNow("java/lang/RuntimeException", "the Java method failed")) {
        return nullptr;
    }
    JavaObject* const result = method.body(receiver, objects);
    return pending_ ? nullptr : result;
}

jobject StrictJni::callObjectMethod(jobject receiver, jmethodID method, std::va_list arguments) {
    const auto* const known =
        methodIds_.contains(method) ? reinterpret_cast<const JavaMethod*>(method) : nullptr;
    const std::vector<jobject> taken = takeArguments(known, arguments);
    enter("CallObjectMethodV(" + show(receiver) + ", " + show(method) + showArguments(taken),
          Rule::needsNoException);
    JavaObject* const object = target(receiver);
    if (knownMethod(method) == nullptr || object == nullptr) {
        return nullptr;
    }
    if (known->isStatic || resultTypeOf(known->signature) != 'L' ||
        !object->type->isOrExtends(*known->owner)) {
        violation("a method of another kind in " + calls_.back());
        return nullptr;
    }
    return makeLocalReference(invoke(*known, object, taken));
}

jobject StrictJni::callStaticMethod(const char* function, char resultType, jclass owner,
                                    jmethodID method, std::va_list arguments) {
    const auto* const known =
        methodIds_.contains(method) ? reinterpret_cast<const JavaMethod*>(method) : nullptr;
    const std::vector<jobject> taken = takeArguments(known, arguments);
    enter(std::string(function) + "(" + show(owner) + ", " + show(method) + showArguments(taken),
          Rule::needsNoException);
    const JavaClass* const type = targetClass(owner);
    if (knownMethod(method) == nullptr || type == nullptr) {
        return nullptr;
    }
    if (!known->isStatic || resultTypeOf(known->signature) != resultType || type != known->owner) {
        violation("a method of another kind in " + calls_.back());
        return nullptr;
    }
    return makeLocalReference(invoke(*known, nullptr, taken));
}

const char* StrictJni::getStringUTFChars(jstring string, jboolean* isCopy) {
    enter(
        "GetStringUTFChars(" + show(string) + ", " + (isCopy == nullptr ? "null" : "isCopy") + ")",
        Rule::needsNoException);
    const JavaObject* const object = target(string, "java/lang/String");
    if (object == nullptr || failsNow("java/lang/OutOfMemoryError", "Java heap space")) {
        return nullptr;
    }
    auto characters = std::make_unique<char[]>(object->bytes.size() + 1);
    std::memcpy(characters.get(), object->bytes.c_str(), object->bytes.size() + 1);
    const char* const address = characters.get();
    characters_.emplace(address, std::move(characters));
    return address;
}

void StrictJni::releaseStringUTFChars(jstring string, const char* characters) {
    enter("ReleaseStringUTFChars(" + show(string) + ")", Rule::alwaysAllowed);
    if (target(string, "java/lang/String") != nullptr && characters_.erase(characters) == 0) {
        violation("no UTF characters in " + calls_.back());
    }
}

jsize StrictJni::getArrayLength(jarray array) {
    enter("GetArrayLength(" + show(array) + ")", Rule::needsNoException);
    const JavaObject* const object = target(array, "[B");
    return object == nullptr ? 0 : static_cast<jsize>(object->bytes.size());
}

jbyteArray StrictJni::newByteArrayCall(jsize length) {
    enter("NewByteArray(" + std::to_string(length) + ")", Rule::needsNoException);
    if (length < 0) {
        violation("a negative length in " + calls_.back());
        return nullptr;
    }
    if (failsNow("java/lang/OutOfMemoryError", "Java heap space")) {
        return nullptr;
    }
    const std::string label = "new byte[" + std::to_string(length) + "]";
    return static_cast<jbyteArray>(makeLocalReference(
        newByteArray(std::string(static_cast<std::size_t>(length), '\0'), label)));
}

void StrictJni::byteArrayRegion(const char* function, jbyteArray array, jsize start, jsize length,
                                const jbyte* source, jbyte* destination) {
    std::string call = std::string(function) + "(" + show(array) + ", " + std::to_string(start) +
                       ", " + std::to_string(length);
    if (source != nullptr && length >= 0) {
        call += ", " + std::string(reinterpret_cast<const char*>(source),
                                   static_cast<std::size_t>(length));
    }
    enter(call + ")", Rule::needsNoException);
    JavaObject* const object = target(array, "[B");
    if (object == nullptr) {
        return;
    }
    const auto size = static_cast<jsize>(object->bytes.size());
    if (start < 0 || length < 0 || start > size || length > size - start) {
        violation("a region outside of the array in " + calls_.back());
        return;
    }
    if (source == nullptr && destination == nullptr) {
        violation("no buffer in " + calls_.back());
        return;
    }
    checkDue_ = function;
    if (failsNow("java/lang/ArrayIndexOutOfBoundsException", "the region failed")) {
        return;
    }
    char* const elements = object->bytes.data() + start;
    if (source != nullptr) {
        std::memcpy(elements, source, static_cast<std::size_t>(length));
    } else {
        std::memcpy(destination, elements, static_cast<std::size_t>(length));
    }
}
