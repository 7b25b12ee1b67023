// Whole calls of the exported function in this process, as a test fixture.
//
// The machine's installation is the sandbox's, the private temporary directory is the one in which
// the test program lies, and the job has references on both sides that the wallet can tell.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "doubles/ConnectorCalls.h"
#include "doubles/PrivateModuleDir.h"
#include "doubles/SandboxWallet.h"

class NativeCall : public ::testing::Test {
  protected:
    NativeCall() {
        SandboxWallet::redirectInstallation();
        sandbox_.add("un", "name");
        sandbox_.add("pw_dbhost", "secret");
        sandbox_.add("com.orvanta.OV2", "default");
        resetJob();
    }

    // After every call, whatever its outcome.
    ~NativeCall() override { EXPECT_EQ(sandbox_.held(), ""); }

    void resetJob() {
        job_.properties = {{"InputJdbcUrl", "jdbc:orvanta://dbhost/"},
                           {"InputOrvantaUserName", "$ovwallet(un)"},
                           {"InputOrvantaPassword", "$ovwallet(pw_$(ovpid))"},
                           {"OutputOrvantaUserName", "plain"},
                           {"OutputOrvantaPassword", "$ovwallet"}};
    }

    std::string call() { return job_.performSubstitutions(privateModuleDir()); }

    // "INPUT-USER INPUT-PASSWORD OUTPUT-USER OUTPUT-PASSWORD"
    std::string credentials() {
        return property("InputOrvantaUserName") + " " + property("InputOrvantaPassword") + " " +
               property("OutputOrvantaUserName") + " " + property("OutputOrvantaPassword");
    }
    std::string property(const std::string& name) { return job_.properties[name].value_or("null"); }

    static constexpr const char* kUntouched =
        "$ovwallet(un) $ovwallet(pw_$(ovpid)) plain $ovwallet";
    static constexpr const char* kExpanded = "name secret plain default";

    SandboxWallet sandbox_;
    StrictJni jvm_;
    ConnectorJob job_{jvm_};
};

inline CallRecord inputCalls() {
    return urlCalls("Input", 22) + readCalls("InputOrvantaUserName", 13) +
           writeCalls("InputOrvantaUserName", "name") + readCalls("InputOrvantaPassword", 22) +
           writeCalls("InputOrvantaPassword", "secret");
}

inline CallRecord outputCalls() {
    return urlGetterCalls("Output") + readCalls("OutputOrvantaUserName", 5) +
           writeCalls("OutputOrvantaUserName", "plain") + readCalls("OutputOrvantaPassword", 9) +
           writeCalls("OutputOrvantaPassword", "default");
}
