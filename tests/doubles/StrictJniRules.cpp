// What every JNI function of the double checks: the exception, references, ids.

#include <algorithm>

#include "doubles/StrictJni.h"

namespace {

constexpr std::size_t kMostLocalReferences = 16;  // that JNI promises to have room for

}  // namespace

void StrictJni::enter(const std::string& call, Rule rule) {
    calls_.push_back(call);
    if (onCall) {
        onCall(call);
    }
    if (std::this_thread::get_id() != thread_) {
        violation(call + " came from another thread");
    }
    if (rule == Rule::alwaysAllowed) {
        return;
    }
    if (pending_) {
        violation(call + " while an exception is pending: " + *pending_);
    } else if (!checkDue_.empty()) {
        violation(call + " before an exception of " + checkDue_ + " was looked for");
    }
}

bool StrictJni::failsNow(const std::string& exceptionClass, const std::string& message) {
    std::optional<Failure> failure = failing ? failing(calls_.back()) : std::nullopt;
    if (callsUntilFailure_ != 0 && --callsUntilFailure_ == 0) {
        failure = failure_;
    }
    if (!failure) {
        return false;
    }
    failedCall_ = calls_.back();
    if (failure == Failure::withException) {
        throwJava(exceptionClass, message);
    }
    return true;
}

jobject StrictJni::makeReference(JavaObject* object) {
    references_.push_back(std::make_unique<Reference>());
    *references_.back() = Reference{{}, object, true, false};
    return references_.back().get();
}

jobject StrictJni::makeLocalReference(JavaObject* object) {
    if (object == nullptr) {
        return nullptr;
    }
    const jobject made = makeReference(object);
    references_.back()->countsAsLocal = true;
    const auto live = std::count_if(references_.begin(), references_.end(), [](const auto& each) {
        return each->alive && each->countsAsLocal;
    });
    if (static_cast<std::size_t>(live) > kMostLocalReferences) {
        violation("more than 16 local references at once, after " + calls_.back());
    }
    return made;
}

JavaObject* StrictJni::target(jobject reference) {
    const auto found =
        std::find_if(references_.begin(), references_.end(),
                     [reference](const auto& each) { return each.get() == reference; });
    if (reference == nullptr) {
        violation("null in " + calls_.back());
    } else if (found == references_.end()) {
        violation("no reference of this environment in " + calls_.back());
    } else if (!(*found)->alive) {
        violation("the deleted reference " + (*found)->object->label + " in " + calls_.back());
    } else {
        return (*found)->object;
    }
    return nullptr;
}

JavaObject* StrictJni::target(jobject reference, const char* className) {
    JavaObject* const object = target(reference);
    const JavaClass* const wanted = classNamed(className);
    if (object != nullptr && (wanted == nullptr || !object->type->isOrExtends(*wanted))) {
        violation(object->label + " is no " + className + " in " + calls_.back());
        return nullptr;
    }
    return object;
}

const JavaClass* StrictJni::targetClass(jclass reference) {
    const JavaObject* const object = target(reference, "java/lang/Class");
    return object == nullptr ? nullptr : object->represented;
}

const JavaMethod* StrictJni::knownMethod(jmethodID method) {
    if (!methodIds_.contains(method)) {
        violation("no method id in " + calls_.back());
        return nullptr;
    }
    return reinterpret_cast<const JavaMethod*>(method);
}

std::string StrictJni::show(jobject reference) const {
    if (reference == nullptr) {
        return "null";
    }
    const auto found =
        std::find_if(references_.begin(), references_.end(),
                     [reference](const auto& each) { return each.get() == reference; });
    return found == references_.end() ? "unknown" : (*found)->object->label;
}

std::string StrictJni::show(jmethodID method) const {
    return methodIds_.contains(method) ? reinterpret_cast<const JavaMethod*>(method)->name
                                       : "unknown";
}

std::string StrictJni::showArguments(const std::vector<jobject>& arguments) const {
    std::string text;
    for (const jobject argument : arguments) {
        text += ", " + show(argument);
    }
    return text + ")";
}
