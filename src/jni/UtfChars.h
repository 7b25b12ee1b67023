// Owns the UTF-8 characters of a Java string and gives them back to the JVM when it goes.
#pragma once

#include <jni.h>

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
