#include "session/WalletSession.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "doubles/ClientLibraryDouble.h"
#include "doubles/ConnectorJob.h"
#include "doubles/StrictJni.h"
#include "doubles/TemporaryDirectory.h"
#include "jni/JavaLangThrowable.h"
#include "session/OperatingSystemDouble.h"
#include "support/OvWalletException.h"
#include "wallet/WalletFunctionPointers.h"

namespace Orvanta_OvWallet {
namespace {

namespace fs = std::filesystem;
using PrivateStuff::walletFunctions;
using testing::ElementsAre;
using testing::ElementsAreArray;

const std::vector<std::string> kLookUps = {
    "FindClass(org/apache/hadoop/mapreduce/JobContext)",
    "ExceptionCheck()",
    "GetMethodID(JobContext, getConfiguration, ()Lorg/apache/hadoop/conf/Configuration;)",
    "ExceptionCheck()",
    "CallObjectMethodV(job, getConfiguration)",
    "ExceptionCheck()",
    "FindClass(com/orvanta/connector/orvanta/utils/OrvantaPlugInConfiguration)",
    "ExceptionCheck()",
    "FindClass(com/orvanta/connector/common/utils/StandardCharsets)",
    "ExceptionCheck()",
    "GetStaticFieldID(StandardCharsets, UTF_8, Ljava/nio/charset/Charset;)",
    "ExceptionCheck()",
    "GetStaticObjectField(StandardCharsets, UTF_8)",
    "FindClass(java/lang/String)",
    "ExceptionCheck()",
    "GetMethodID(String, getBytes, (Ljava/nio/charset/Charset;)[B)",
    "ExceptionCheck()",
};

// A session of a job, on a machine with an installation whose client library notes its calls.
class WalletSessionTest : public testing::Test {
  protected:
    WalletSessionTest() {
        fs::create_directories(system_.root / "base");
        writeFile(system_.root / "var/lib/rpm/ovwallet1/inst.dir", system_.root / "base");
        library_.onCall = [this](const std::string&) { handedOut_ = true; };
    }

    // What constructing a session leads to: "" for a session that was made.
    std::string construct(const std::function<void(const WalletSession&)>& use = {}) {
        std::string outcome;
        pending_ = jvm_.inNativeFrame([&] {
            try {
                const WalletSession session(jvm_.env(),
                                            hasJob_ ? job_.jobContextReference() : nullptr,
                                            job_.stringReference(tempDirectory_, "tempDir"));
                if (use) {
                    use(session);
                }
            } catch (const JavaLangThrowable&) {
                outcome = "a Java exception is pending";
            } catch (const OvWalletException& exception) {
                outcome = exception.what();
            }
        });
        return outcome;
    }

    ClientLibraryDouble library_;
    OperatingSystemDouble system_;
    const TemporaryDirectory tempDir_;
    std::optional<std::string> tempDirectory_ = tempDir_ / "";
    StrictJni jvm_;
    ConnectorJob job_{jvm_};
    bool hasJob_ = true;
    bool handedOut_ = false;
    std::string pending_;
};

TEST_F(WalletSessionTest, LooksEverythingUpInOrderThenLinksThenOpensAWallet) {
    std::vector<std::string> expected = kLookUps;
    expected.insert(expected.end(),
                    {"GetStringUTFChars(tempDir, null)", "ReleaseStringUTFChars(tempDir)"});
    jvm_.onCall = [&](const std::string&) { EXPECT_FALSE(handedOut_); };
    EXPECT_EQ(construct(), "");
    EXPECT_EQ(pending_, "");
    EXPECT_THAT(jvm_.takeCalls(), ElementsAreArray(expected));
    EXPECT_TRUE(handedOut_);
    EXPECT_TRUE(fs::is_symlink(tempDir_ / "ovwalletdir"));
}

TEST_F(WalletSessionTest, LinksNothingAndAsksForNoPathnameTheSecondTime) {
    EXPECT_EQ(construct(), "");
    jvm_.takeCalls();
    system_.takeCalls();
    EXPECT_EQ(construct(), "");
    EXPECT_THAT(jvm_.takeCalls(), ElementsAreArray(kLookUps));
    EXPECT_THAT(system_.takeCalls(), ElementsAre());
    EXPECT_EQ(walletFunctions().useCount().digits().front(), 2U);
}

TEST_F(WalletSessionTest, HasEveryFieldSet) {
    EXPECT_EQ(construct([this](const WalletSession& session) {
                  EXPECT_EQ(session.env, jvm_.env());
                  EXPECT_NE(session.jobContext, nullptr);
                  EXPECT_NE(session.privateTempDir, nullptr);
                  EXPECT_NE(session.configuration, nullptr);
                  EXPECT_NE(session.plugInConfigurationClass, nullptr);
                  EXPECT_NE(session.charsetsClass, nullptr);
                  EXPECT_NE(session.utf8Charset, nullptr);
                  EXPECT_NE(session.stringClass, nullptr);
                  EXPECT_NE(session.getBytesMethod, nullptr);
                  jvm_.takeCalls();
                  jvm_.env()->CallObjectMethod(session.privateTempDir, session.getBytesMethod,
                                               session.utf8Charset);
                  jvm_.env()->ExceptionCheck();
                  EXPECT_EQ(jvm_.takeCalls().front(),
                            "CallObjectMethodV(tempDir, getBytes, UTF_8)");
              }),
              "");
}

TEST_F(WalletSessionTest, KeepsTheWalletThatTheLibraryHandsOut) {
    Wallet* const wallet = reinterpret_cast<Wallet*>(0x5a5a);
    walletFunctions().load();
    walletFunctions().OvWalletFactory_generateOvWalletV1 = [](Wallet** out) -> WalletError* {
        *out = reinterpret_cast<Wallet*>(0x5a5a);
        return nullptr;
    };
    EXPECT_EQ(
        construct([=](const WalletSession& session) { EXPECT_EQ(session.walletHandle, wallet); }),
        "");
}

TEST_F(WalletSessionTest, HandsTheFactoryANullWalletToFill) {
    walletFunctions().load();
    walletFunctions().OvWalletFactory_generateOvWalletV1 = [](Wallet** out) -> WalletError* {
        EXPECT_EQ(*out, nullptr);
        return nullptr;
    };
    EXPECT_EQ(construct(), "");
}

TEST_F(WalletSessionTest, FreesNothingWhenItGoes) {
    EXPECT_EQ(construct(), "");
    EXPECT_EQ(walletFunctions().useCount().digits().front(), 1U)
        << "the wallet is the entry point's to free";
    EXPECT_TRUE(fs::is_symlink(tempDir_ / "ovwalletdir"));
}

TEST_F(WalletSessionTest, ReportsWhyTheWalletCannotBeOpenedAndFreesTheError) {
    library_.error = reinterpret_cast<WalletError*>(0x22);
    library_.text = "the text";
    library_.takeEvents();
    EXPECT_EQ(construct(), "Attempt to use Orvanta Wallet failed because: the text");
    std::vector<std::string> events = library_.takeEvents();
    events.erase(events.begin(), std::find_if(events.begin(), events.end(), [](const auto& event) {
                     return event.starts_with("dlopen");
                 }));
    ASSERT_GE(events.size(), 2U);
    EXPECT_THAT(events[1], testing::StartsWith("call OvWalletFactory_generateOvWalletV1(0x"));
    events.erase(events.begin() + 1);
    EXPECT_THAT(events,
                ElementsAre("dlopen /14.10/ovwallet/redhatlinux-x8664/libovwallet.so", "unlock",
                            "lock", "call OvWallet_getErrorDescription(0x22)", "unlock", "lock",
                            "call OvWallet_freeError(0x22)", "dlclose", "unlock"));
    EXPECT_TRUE(walletFunctions().useCount().isZero());
}

TEST_F(WalletSessionTest, ReportsThatTheLibraryIsMissing) {
    library_.openFailures = 1;
    EXPECT_EQ(construct(),
              "Attempt to use Orvanta Wallet failed because: Orvanta Wallet 14.10 is not installed "
              "(cannot access \"/14.10/ovwallet/redhatlinux-x8664/libovwallet.so\")");
    EXPECT_TRUE(walletFunctions().useCount().isZero());
}

TEST_F(WalletSessionTest, ReportsANullTemporaryDirectory) {
    tempDirectory_.reset();
    EXPECT_EQ(construct(), "Cannot retrieve the pathname to the private temporary directory.");
    EXPECT_FALSE(handedOut_);
}

TEST_F(WalletSessionTest, ReportsALinkThatCannotBeMade) {
    tempDirectory_ = tempDir_ / "missing/";
    EXPECT_EQ(construct(), "An attempt to create a symbolic link named " +
                               (tempDir_ / "missing/ovwalletdir") +
                               " failed (errno = No such file or directory)");
    EXPECT_FALSE(handedOut_);
}

TEST_F(WalletSessionTest, LeavesANullPointerExceptionForANullJob) {
    hasJob_ = false;
    EXPECT_EQ(construct(), "a Java exception is pending");
    EXPECT_EQ(pending_, "java/lang/NullPointerException: The job context is null.");
    EXPECT_THAT(jvm_.takeCalls(),
                ElementsAre("FindClass(java/lang/NullPointerException)",
                            "ThrowNew(NullPointerException, The job context is null.)"));
}

TEST_F(WalletSessionTest, LeavesTheExceptionOfEachCallAndMakesNoOtherCallAfterIt) {
    // Every JNI call of a first session that can fail, in order.
    const std::vector<std::string> fallible = {kLookUps[0],  kLookUps[2], kLookUps[4],
                                               kLookUps[6],  kLookUps[8], kLookUps[10],
                                               kLookUps[13], kLookUps[15]};
    for (std::size_t k = 0; k < fallible.size(); ++k) {
        jvm_.takeCalls();
        jvm_.failCall(k + 1);
        EXPECT_EQ(construct(), "a Java exception is pending") << fallible[k];
        EXPECT_EQ(jvm_.failedCall(), fallible[k]);
        EXPECT_NE(pending_, "");
        const std::vector<std::string> calls = jvm_.takeCalls();
        ASSERT_GE(calls.size(), 2U);
        EXPECT_EQ(calls[calls.size() - 2], fallible[k]);
        EXPECT_EQ(calls.back(), "ExceptionCheck()");
        EXPECT_FALSE(handedOut_);
    }
    EXPECT_EQ(construct(), "") << "after all these failures";
}

TEST_F(WalletSessionTest, LeavesTheExceptionOfTheJobItself) {
    job_.throwingMethods = {"getConfiguration"};
    EXPECT_EQ(construct(), "a Java exception is pending");
    EXPECT_EQ(pending_, "java/lang/RuntimeException: getConfiguration failed");
}

TEST_F(WalletSessionTest, TakesANullConfigurationAsItIs) {
    job_.hasConfiguration = false;
    EXPECT_EQ(
        construct([](const WalletSession& session) { EXPECT_EQ(session.configuration, nullptr); }),
        "");
}

}  // namespace
}  // namespace Orvanta_OvWallet
