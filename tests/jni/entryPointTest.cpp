// Whole calls that go as they should, and those that a failure of our own ends.

#include <optional>

#include <gtest/gtest.h>

#include "doubles/FailingHeap.h"
#include "doubles/SystemCalls.h"
#include "doubles/thrown.h"
#include "jni/NativeCall.h"

namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

class EntryPoint : public NativeCall {};

TEST_F(EntryPoint, ExpandsInputThenOutput) {
    EXPECT_EQ(call(), "");
    EXPECT_EQ(credentials(), kExpanded);
    EXPECT_EQ(sandbox_.takeAsked(), (Names{"un", "pw_dbhost", "com.orvanta.OV2"}));
}

TEST_F(EntryPoint, AWholeCallMakesExactlyTheseJniCalls) {
    EXPECT_EQ(call(), "");
    EXPECT_EQ(jvm_.takeCalls(), sessionCalls() + setUpCalls() + inputCalls() + outputCalls());
}

TEST_F(EntryPoint, ALaterCallDoesNotSetUpAgain) {
    EXPECT_EQ(call(), "");
    fs::remove(privateModuleDir() + "ovwalletdir");
    linkInstallation(sandboxBase());
    systemCalls().readlink = nullptr;
    jvm_.takeCalls();
    resetJob();
    EXPECT_EQ(call(), "");
    EXPECT_EQ(credentials(), kExpanded);
    EXPECT_EQ(jvm_.takeCalls(), sessionCalls() + inputCalls() + outputCalls());
}

TEST_F(EntryPoint, ACallMayBeRepeatedOnItsOwnResult) {
    EXPECT_EQ(call(), "");
    EXPECT_EQ(call(), "");
    EXPECT_EQ(credentials(), kExpanded);
}

TEST_F(EntryPoint, AJobWithoutAnyPropertyIsLeftAlone) {
    job_.properties.clear();
    EXPECT_EQ(call(), "");
    EXPECT_EQ(credentials(), "null null null null");
    EXPECT_EQ(jvm_.takeCalls(), sessionCalls() + setUpCalls() + urlGetterCalls("Input") +
                                    getterCalls("InputOrvantaUserName") +
                                    getterCalls("InputOrvantaPassword") + urlGetterCalls("Output") +
                                    getterCalls("OutputOrvantaUserName") +
                                    getterCalls("OutputOrvantaPassword"));
}

TEST_F(EntryPoint, EachCallHasOneWalletOfItsOwn) {
    EXPECT_EQ(call(), "");
    EXPECT_EQ(sandbox_.counter("calls.OvWalletFactory_generateOvWalletV1"), 1);
    EXPECT_EQ(sandbox_.counter("calls.OvWallet_freeV1"), 1);
    EXPECT_EQ(call(), "");
    EXPECT_EQ(sandbox_.counter("calls.OvWalletFactory_generateOvWalletV1"), 2);
    EXPECT_EQ(sandbox_.counter("calls.OvWallet_freeV1"), 2);
}

TEST_F(EntryPoint, NothingIsPrintedOrLogged) {
    Names logged;
    systemCalls().syslog = [&](int, const char* text) { logged.emplace_back(text); };
    ::testing::internal::CaptureStdout();
    ::testing::internal::CaptureStderr();
    EXPECT_EQ(call(), "");
    job_.properties["InputOrvantaUserName"] = "$ovwallet(none)";
    EXPECT_NE(call(), "");
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(logged, Names{});
}

// ---- Failures of the passes.

constexpr const char* kMissing =
    "Attempt to get value from Orvanta Wallet failed because: There is no string named \"none\" in "
    "the wallet.";

TEST_F(EntryPoint, AFailureOnTheInputSideLeavesTheOutputSideAlone) {
    job_.properties["InputOrvantaUserName"] = "$ovwallet(none)";
    EXPECT_EQ(call(), connectorException(kMissing));
    EXPECT_EQ(credentials(), "$ovwallet(none) $ovwallet(pw_$(ovpid)) plain $ovwallet");
    EXPECT_EQ(jvm_.takeCalls(), sessionCalls() + setUpCalls() + urlCalls("Input", 22) +
                                    readCalls("InputOrvantaUserName", 15) +
                                    connectorExceptionCalls(kMissing));
    EXPECT_EQ(sandbox_.counter("calls.OvWallet_freeV1"), 1);
}

TEST_F(EntryPoint, AFailureOnTheOutputSideLeavesTheInputSideDone) {
    job_.properties["OutputOrvantaPassword"] = "$ovwallet(none)";
    EXPECT_EQ(call(), connectorException(kMissing));
    EXPECT_EQ(credentials(), "name secret plain $ovwallet(none)");
    EXPECT_EQ(sandbox_.counter("calls.OvWallet_freeV1"), 1);
}

// The pool asks for the page size once, right before it asks the heap for a region.
TEST_F(EntryPoint, AHeapWithoutMemoryIsReportedAndTheNextCallSucceeds) {
    std::optional<FailingHeap> heap;
    systemCalls().sysconf = [&](int name) {
        heap.emplace(1);
        return real::sysconf(name);
    };
    EXPECT_EQ(call(), connectorException("std::bad_alloc"));
    EXPECT_TRUE(heap->failed());
    EXPECT_EQ(credentials(), kUntouched);
    EXPECT_EQ(call(), "");
    EXPECT_EQ(credentials(), kExpanded);
}

TEST_F(EntryPoint, TheWalletIsReleasedBeforeTheFailureIsReported) {
    job_.properties["InputOrvantaUserName"] = "$ovwallet(none)";
    std::int64_t walletsLeft = -1;
    jvm_.onCall = [&](const std::string& jniCall) {
        if (jniCall == "ExceptionClear()") {
            walletsLeft = sandbox_.counter("live.wallets");
        }
    };
    EXPECT_EQ(call(), connectorException(kMissing));
    EXPECT_EQ(walletsLeft, 0);
}

TEST_F(EntryPoint, AnUnsupportedMacroIsReported) {
    job_.properties["OutputOrvantaUserName"] = "$ovwallet($(user))";
    EXPECT_EQ(call(), connectorException("Unsupported replacement macro, \"$(user)\", found in "
                                         "credential information."));
    EXPECT_EQ(credentials(), "name secret $ovwallet($(user)) $ovwallet");
}

TEST_F(EntryPoint, ReferencesThatLeadBackToThemselvesAreReported) {
    sandbox_.add("self", "$ovwallet(self)");
    job_.properties["InputOrvantaPassword"] = "$ovwallet(self)";
    EXPECT_EQ(call(), connectorException("Orvanta Wallet references in credential information lead "
                                         "back to themselves."));
    EXPECT_EQ(credentials(), "name $ovwallet(self) plain $ovwallet");
}

TEST_F(EntryPoint, AMessageBeyondAsciiIsPassedOnUnchanged) {
    job_.properties["InputOrvantaUserName"] = "$ovwallet(\xc3\xa4\xf0\x9f\x94\x91)";
    EXPECT_EQ(call(),
              connectorException("Attempt to get value from Orvanta Wallet failed because: There "
                                 "is no string named \"\xc3\xa4\xf0\x9f\x94\x91\" in the wallet."));
}

TEST_F(EntryPoint, AnExceptionOfTheClientLibraryIsReported) {
    sandbox_.throwFromCalls("OvWallet_getStringValue", 1);
    EXPECT_EQ(call(), connectorException("Attempt to get value from Orvanta Wallet failed because: "
                                         "the client library threw"));
    EXPECT_EQ(credentials(), kUntouched);
}

// Deliberate behaviour: only std::exception and what stands for a Java exception are caught.
TEST_F(EntryPoint, AnythingElseThatIsThrownPassesThroughAndTheWalletIsReleased) {
    sandbox_.throwFromCalls("OvWallet_getStringValue", 2);
    EXPECT_EQ(jvm_.inNativeFrame([&] { EXPECT_EQ(thrownBy([&] { call(); }), "something else"); }),
              "");
    EXPECT_EQ(sandbox_.counter("calls.OvWallet_freeV1"), 1);
    sandbox_.throwFromCalls("OvWallet_getStringValue", 0);
    EXPECT_EQ(call(), "");
    EXPECT_EQ(credentials(), kExpanded);
}

TEST_F(EntryPoint, ACallAfterAFailedOneWorks) {
    job_.properties["InputOrvantaUserName"] = "$ovwallet(none)";
    EXPECT_EQ(call(), connectorException(kMissing));
    resetJob();
    EXPECT_EQ(call(), "");
    EXPECT_EQ(credentials(), kExpanded);
}

// ---- Failures before there is a wallet.

TEST_F(EntryPoint, ANullJobIsANullPointerException) {
    EXPECT_EQ(job_.performSubstitutionsWithoutJob(privateModuleDir()),
              "java/lang/NullPointerException: The job context is null.");
    EXPECT_EQ(jvm_.takeCalls(),
              (CallRecord{"FindClass(java/lang/NullPointerException)",
                          "ThrowNew(NullPointerException, The job context is null.)"}));
    EXPECT_EQ(sandbox_.counter("calls.OvWallet_freeV1"), 0);
    EXPECT_EQ(call(), "");
}

TEST_F(EntryPoint, ANullDirectoryIsReported) {
    constexpr const char* kNoDirectory =
        "Cannot retrieve the pathname to the private temporary directory.";
    EXPECT_EQ(job_.performSubstitutions(std::nullopt), connectorException(kNoDirectory));
    EXPECT_EQ(jvm_.takeCalls(), sessionCalls() + connectorExceptionCalls(kNoDirectory));
    EXPECT_EQ(call(), "");
    EXPECT_EQ(credentials(), kExpanded);
}

TEST_F(EntryPoint, OnceSetUpTheDirectoryIsNotLookedAt) {
    EXPECT_EQ(call(), "");
    resetJob();
    EXPECT_EQ(job_.performSubstitutions(std::nullopt), "");
    EXPECT_EQ(credentials(), kExpanded);
}

TEST_F(EntryPoint, AWalletThatCannotBeMadeIsReportedAndNothingIsReleased) {
    sandbox_.failCall("OvWalletFactory_generateOvWalletV1", 1, "no keys");
    constexpr const char* kMessage = "Attempt to use Orvanta Wallet failed because: no keys";
    EXPECT_EQ(call(), connectorException(kMessage));
    EXPECT_EQ(jvm_.takeCalls(), sessionCalls() + setUpCalls() + connectorExceptionCalls(kMessage));
    EXPECT_EQ(sandbox_.counter("calls.OvWallet_freeV1"), 0);
    EXPECT_EQ(sandbox_.counter("calls.OvWallet_freeError"), 1);
    EXPECT_EQ(credentials(), kUntouched);
    EXPECT_EQ(call(), "");
    EXPECT_EQ(credentials(), kExpanded);
}

TEST_F(EntryPoint, ASetUpThatFailsIsReportedAndTriedAgain) {
    const std::string link = privateModuleDir() + "ovwalletdir";
    writeFile(link, "in the way");
    const std::string message =
        "An attempt to create a symbolic link named " + link + " failed (errno = File exists)";
    EXPECT_EQ(call(), connectorException(message));
    EXPECT_EQ(call(), connectorException(message));
    EXPECT_EQ(jvm_.takeCalls(), sessionCalls() + setUpCalls() + connectorExceptionCalls(message) +
                                    sessionCalls() + setUpCalls() +
                                    connectorExceptionCalls(message));
    fs::remove(link);
    EXPECT_EQ(call(), "");
    EXPECT_EQ(credentials(), kExpanded);
}

TEST_F(EntryPoint, AMachineWithoutTheSoftwareIsReported) {
    const TemporaryDirectory noPackages;
    systemCalls().readlink = [](const char*, char*, std::size_t) -> ssize_t {
        errno = ENOENT;
        return -1;
    };
    systemCalls().opendir = [&](const char* pathname) {
        const bool isDatabase = pathname == std::string("/var/lib/rpm");
        return real::opendir(isDatabase ? noPackages.pathname().c_str() : pathname);
    };
    EXPECT_EQ(call(), connectorException(
                          "The Orvanta Wallet software is not installed; install version 14.10 of "
                          "the Orvanta Wallet software (available from "
                          "https://downloads.orvanta.example/ovwallet) in order to use Orvanta "
                          "Wallet."));
    EXPECT_EQ(credentials(), kUntouched);
}

TEST_F(EntryPoint, AnInstallationWithoutTheClientLibraryIsReported) {
    EXPECT_EQ(call(), "");
    resetJob();
    linkInstallation(sandboxVariant("no-library"));
    EXPECT_EQ(call(),
              connectorException(
                  "Attempt to use Orvanta Wallet failed because: Orvanta Wallet 14.10 is not "
                  "installed (cannot access \"" +
                  sandboxVariant("no-library") +
                  "/orvanta/client/14.10/ovwallet/redhatlinux-x8664/libovwallet.so\")"));
    EXPECT_EQ(credentials(), kUntouched);
    linkInstallation(sandboxBase());
    EXPECT_EQ(call(), "");
}

TEST_F(EntryPoint, AClientLibraryThatLacksAnEntryPointIsReported) {
    EXPECT_EQ(call(), "");
    resetJob();
    const std::string library = sandboxVariant("missing-last") +
                                "/orvanta/client/14.10/ovwallet/redhatlinux-x8664/libovwallet.so";
    linkInstallation(sandboxVariant("missing-last"));
    EXPECT_EQ(call(),
              connectorException("Attempt to use Orvanta Wallet failed because: Cannot find the "
                                 "\"OvWallet_addPlaintextStringFromTerminal\" function in the \"" +
                                 library + "\" library because: " + library +
                                 ": undefined symbol: OvWallet_addPlaintextStringFromTerminal"));
    EXPECT_EQ(credentials(), kUntouched);
}

}  // namespace
