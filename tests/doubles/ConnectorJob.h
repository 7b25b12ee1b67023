// The connector's Java classes in a StrictJni, and one job with its credential properties.
//
//     StrictJni jvm;
//     ConnectorJob job(jvm);
//     job.properties["InputOrvantaPassword"] = "$ovwallet(pw)";
//     EXPECT_EQ(job.performSubstitutions(privateModuleDir()), "");
//
// The record of calls shows the job as "job", its configuration as "configuration", what a getter
// returned as the property's name, and the bytes of a string as "bytes of" it.
#pragma once

#include <jni.h>

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>

#include "doubles/StrictJni.h"

// What the record of a whole call shows.
using CallRecord = std::vector<std::string>;

class ConnectorJob {
  public:
    explicit ConnectorJob(StrictJni& jvm);
    ConnectorJob(const ConnectorJob&) = delete;
    ConnectorJob& operator=(const ConnectorJob&) = delete;

    // "InputJdbcUrl", "InputOrvantaUserName", "InputOrvantaPassword" and the same of "Output". What
    // is not there, or nothing, is null in Java. Setters write here.
    std::map<std::string, std::optional<std::string>> properties;

    // Java methods that throw a RuntimeException "NAME failed": any getter or setter,
    // "getConfiguration" or "getBytes".
    std::set<std::string> throwingMethods;

    // Called when one of these Java methods runs, before it does anything.
    std::function<void(const std::string& method)> onJavaMethod;

    // Whether "getConfiguration" returns null.
    bool hasConfiguration = true;

    // The allocation of the native code that fails in each call, see FailingHeap, and whether there
    // were as many in the last call. Java has memory enough.
    std::uint64_t failingAllocation = 0;
    bool allocationFailed = false;

    // Calls the exported function in a native frame of its own, with a null string for nothing, and
    // returns what StrictJni::inNativeFrame does.
    std::string performSubstitutions(const std::optional<std::string>& privateTempDir);
    std::string performSubstitutionsWithoutJob(const std::string& privateTempDir);

    // Local references for those who call an inner function.
    jobject jobContextReference() { return jvm_->reference(jobContext_); }
    jstring stringReference(const std::optional<std::string>& text, const std::string& label);

  private:
    void defineProperty(const std::string& name);
    void defineUrl(const std::string& name);
    bool failsIn(const std::string& method);
    std::string call(JavaObject* jobContext, const std::optional<std::string>& privateTempDir);

    StrictJni* jvm_;
    JavaObject* jobContext_ = nullptr;
    JavaObject* configuration_ = nullptr;
};
