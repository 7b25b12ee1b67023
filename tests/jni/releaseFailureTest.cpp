// Whole calls at whose end the wallet cannot be released as it should.

#include <gtest/gtest.h>

#include "doubles/SystemCalls.h"
#include "doubles/thrown.h"
#include "jni/NativeCall.h"

namespace {

class ReleaseFailure : public NativeCall {
  protected:
    // The client library is closed, and the dynamic loader says that it was not.
    void failNextClose() {
        systemCalls().dlclose = [this](void* library) {
            real::dlclose(library);
            systemCalls().dlclose = nullptr;
            ++failedCloses_;
            return -1;
        };
        systemCalls().dlerror = []() -> char* {
            static std::string text = "it is busy";
            return text.data();
        };
    }

    const std::string kCannotUnload =
        "Cannot unload the \"" + sandboxBase() +
        "/orvanta/client/14.10/ovwallet/redhatlinux-x8664/libovwallet.so\" library because: it is "
        "busy";
    int failedCloses_ = 0;
};

TEST_F(ReleaseFailure, AfterSuccessItIsReportedAndTheResultStands) {
    failNextClose();
    EXPECT_EQ(call(), connectorException(kCannotUnload));
    EXPECT_EQ(credentials(), kExpanded);
    EXPECT_EQ(jvm_.takeCalls(), sessionCalls() + setUpCalls() + inputCalls() + outputCalls() +
                                    connectorExceptionCalls(kCannotUnload));
    EXPECT_EQ(sandbox_.counter("calls.OvWallet_freeV1"), 1);
    resetJob();
    EXPECT_EQ(call(), "");
    EXPECT_EQ(credentials(), kExpanded);
}

TEST_F(ReleaseFailure, AfterAFailureTheFirstFailureIsReported) {
    job_.properties["InputOrvantaUserName"] = "$ovwallet(none)";
    failNextClose();
    EXPECT_EQ(call(), connectorException("Attempt to get value from Orvanta Wallet failed because: "
                                         "There is no string named \"none\" in the wallet."));
    EXPECT_EQ(failedCloses_, 1);
    EXPECT_EQ(sandbox_.counter("calls.OvWallet_freeV1"), 1);
}

TEST_F(ReleaseFailure, AfterAJavaExceptionThatOneStaysPending) {
    job_.throwingMethods = {"getOutputJdbcUrl"};
    failNextClose();
    EXPECT_EQ(call(), "java/lang/RuntimeException: getOutputJdbcUrl failed");
    EXPECT_EQ(failedCloses_, 1);
    EXPECT_EQ(jvm_.calls().back(), "ExceptionCheck()");
}

TEST_F(ReleaseFailure, AfterAnExceptionThatPassesThroughThatOneIsThrown) {
    sandbox_.throwFromCalls("OvWallet_getStringValue", 2);
    failNextClose();
    EXPECT_EQ(thrownBy([&] { call(); }), "something else");
    EXPECT_EQ(failedCloses_, 1);
}

TEST_F(ReleaseFailure, AWalletThatCannotBeMadeIsReportedAlsoWhenItsErrorIsTheLastObject) {
    sandbox_.failCall("OvWalletFactory_generateOvWalletV1", 1, "no keys");
    failNextClose();
    EXPECT_EQ(call(), connectorException("Attempt to use Orvanta Wallet failed because: no keys"));
    EXPECT_EQ(failedCloses_, 1);
}

// The client library keeps what it did not free, and so the use of it stays, too.
TEST(ThrowingReleaseOfTheClientLibrary, AfterSuccessIsReported) {
    SandboxWallet::redirectInstallation();
    SandboxWallet sandbox;
    StrictJni jvm;
    ConnectorJob job(jvm);
    sandbox.throwFromCalls("OvWallet_freeV1", 1);
    EXPECT_EQ(job.performSubstitutions(privateModuleDir()),
              connectorException("the client library threw"));
    EXPECT_EQ(sandbox.held(), "live.wallets 1\nuses of the library\n");
}

TEST(ThrowingReleaseOfTheClientLibrary, AfterAFailureIsNotReported) {
    SandboxWallet::redirectInstallation();
    SandboxWallet sandbox;
    StrictJni jvm;
    ConnectorJob job(jvm);
    job.throwingMethods = {"getInputJdbcUrl"};
    sandbox.throwFromCalls("OvWallet_freeV1", 2);
    EXPECT_EQ(job.performSubstitutions(privateModuleDir()),
              "java/lang/RuntimeException: getInputJdbcUrl failed");
}

}  // namespace
