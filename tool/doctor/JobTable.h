// The Java side of the rehearsal: as much of a JVM as the library's entry point needs for a job
// without a URL, a user name or a password. 18 functions of JNI; any other is a null pointer.
#pragma once

#include <jni.h>

#include <string>

namespace Orvanta_OvWallet::Tool {

// What was thrown, as Java names it; empty when nothing was.
struct Thrown {
    std::string className;
    std::string message;
};

// Calls the entry point with a job and this private directory. One call at a time.
using PerformSubstitutions = void (*)(JNIEnv*, jclass, jobject, jstring);
Thrown callWithEmptyJob(PerformSubstitutions entryPoint, const std::string& privateDirectory);

}  // namespace Orvanta_OvWallet::Tool
