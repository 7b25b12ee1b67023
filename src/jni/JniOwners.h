// Owners of what the JVM hands out; they give it back when they go, also while a Java exception is
// pending.
#pragma once

#include <jni.h>

// One local reference, which may be null.
template <typename Reference>
class LocalRef {
  public:
    LocalRef(JNIEnv* env, Reference reference) : env_(env), reference_(reference) {}
    ~LocalRef() {
        if (reference_ != nullptr) {
            env_->DeleteLocalRef(reference_);
        }
    }
    LocalRef(const LocalRef&) = delete;
    LocalRef& operator=(const LocalRef&) = delete;

    Reference get() const { return reference_; }

  private:
    JNIEnv* env_;
    Reference reference_;
};

// The characters of a Java string.
class UtfChars {
  public:
    // A null string has no characters. A Java exception may be pending when the JVM gave none.
    UtfChars(JNIEnv* env, jstring string)
        : env_(env),
          string_(string),
          characters_(string == nullptr ? nullptr : env->GetStringUTFChars(string, nullptr)) {}
    ~UtfChars() {
        if (characters_ != nullptr) {
            env_->ReleaseStringUTFChars(string_, characters_);
        }
    }
    UtfChars(const UtfChars&) = delete;
    UtfChars& operator=(const UtfChars&) = delete;

    // NUL-terminated modified UTF-8, valid as long as this object; null when there are none.
    const char* get() const { return characters_; }

  private:
    JNIEnv* env_;
    jstring string_;
    const char* characters_;
};
