// Owns one JNI local reference and deletes it when it goes, also while a Java exception is pending.
#pragma once

#include <jni.h>

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
