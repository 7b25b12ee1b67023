#include "doubles/StrictJni.h"

#include <algorithm>
#include <stdexcept>

#include <gtest/gtest.h>

std::string JavaClass::simpleName() const {
    return name.substr(name.rfind('/') + 1);
}

bool JavaClass::isOrExtends(const JavaClass& other) const {
    for (const JavaClass* type = this; type != nullptr; type = type->superclass) {
        if (type == &other) {
            return true;
        }
    }
    return false;
}

StrictJni::StrictJni() {
    environment_.functions = &functionTable();
    environment_.jvm = this;
    defineClass("java/lang/Object", "");
    for (const char* const name : {"java/lang/Class", "java/lang/String", "[B"}) {
        defineClass(name);
    }
    defineClass("java/lang/Throwable");
    for (const char* const name : {"NullPointerException", "RuntimeException"}) {
        defineClass(std::string("java/lang/") + name, "java/lang/Throwable");
    }
}

StrictJni::~StrictJni() {
    reportUnreleasedCharacters();
}

JavaClass* StrictJni::classNamed(const std::string& name) const {
    const auto found = classes_.find(name);
    return found == classes_.end() ? nullptr : found->second.get();
}

JavaClass& StrictJni::defineClass(const std::string& name, const std::string& superclass) {
    auto& type = classes_[name];
    type = std::make_unique<JavaClass>(JavaClass{name, classNamed(superclass), {}, {}});
    return *type;
}

void StrictJni::removeClass(const std::string& name) {
    auto node = classes_.extract(name);
    if (node.empty()) {
        throw std::logic_error("there is no class " + name);
    }
    removedClasses_.push_back(std::move(node.mapped()));
}

void StrictJni::defineMethod(const std::string& className, const std::string& name,
                             const std::string& signature, bool isStatic, JavaMethodBody body) {
    JavaClass* const owner = classNamed(className);
    owner->methods.push_back({owner, name, signature, isStatic, std::move(body)});
    methodIds_.insert(&owner->methods.back());
}

// What is removed keeps its place, so that ids handed out stay valid.
void StrictJni::removeMethod(const std::string& className, const std::string& name) {
    for (JavaMethod& method : classNamed(className)->methods) {
        if (method.name == name) {
            method.name.clear();
            return;
        }
    }
    throw std::logic_error("there is no method " + name);
}

void StrictJni::defineStaticField(const std::string& className, const std::string& name,
                                  const std::string& signature, JavaObject* value) {
    JavaClass* const owner = classNamed(className);
    owner->staticFields.push_back({owner, name, signature, value});
    fieldIds_.insert(&owner->staticFields.back());
}

void StrictJni::removeStaticField(const std::string& className, const std::string& name) {
    for (JavaStaticField& field : classNamed(className)->staticFields) {
        if (field.name == name) {
            field.name.clear();
            return;
        }
    }
    throw std::logic_error("there is no field " + name);
}

JavaObject* StrictJni::newObject(const std::string& className, const std::string& label,
                                 const std::string& bytes) {
    objects_.push_back(
        std::make_unique<JavaObject>(JavaObject{classNamed(className), label, bytes}));
    return objects_.back().get();
}

JavaObject* StrictJni::newString(const std::string& text, const std::string& label) {
    return newObject("java/lang/String", label, text);
}

JavaObject* StrictJni::newByteArray(const std::string& elements, const std::string& label) {
    return newObject("[B", label, elements);
}

std::string StrictJni::inNativeFrame(const std::function<void()>& body) {
    const std::size_t outer = references_.size();
    body();
    reportUnreleasedCharacters();
    for (std::size_t i = outer; i < references_.size(); ++i) {
        references_[i]->alive = false;
    }
    checkDue_.clear();
    const std::string outcome = pendingException();
    pending_.reset();
    return outcome;
}

void StrictJni::throwJava(const std::string& className, const std::string& message) {
    pending_ = className + ": " + message;
}

std::vector<std::string> StrictJni::takeCalls() {
    return std::exchange(calls_, {});
}

void StrictJni::failCall(std::uint64_t k, Failure failure) {
    callsUntilFailure_ = k;
    failure_ = failure;
    failedCall_.clear();
}

void StrictJni::reportUnreleasedCharacters() {
    for (const auto& [address, characters] : std::exchange(characters_, {})) {
        violation(std::string("the UTF characters \"") + address + "\" were not released");
    }
}

void StrictJni::violation(const std::string& text) {
    violations_.push_back(text);
    ADD_FAILURE() << "JNI misused: " << text;
}
