#include "substitution/credentialPass.h"

#include <limits>
#include <utility>

#include <gtest/gtest.h>

#include "doubles/ConnectorCalls.h"
#include "doubles/OpenSession.h"
#include "doubles/SandboxWallet.h"
#include "doubles/thrown.h"
#include "support/OvWalletException.h"

namespace Orvanta_OvWallet {
namespace {

using namespace std::string_literals;

class CredentialProperty : public ::testing::Test {
  protected:
    CredentialProperty() { SandboxWallet::redirectInstallation(); }
    ~CredentialProperty() override { EXPECT_EQ(sandbox_.held(), ""); }

    // Leaves the calls of the substitution alone in the record. failAt counts those that can fail.
    std::string substituted(const PropertyMethods& property = kInputSide.password,
                            std::uint64_t failAt = 0,
                            StrictJni::Failure failure = StrictJni::Failure::withException) {
        return withSession(jvm_, job_, [&](const WalletSession& session) {
            jvm_.failCall(failAt, failure);
            substitute(session, property, {});
        });
    }

    // What becomes of a property with this text.
    std::string password(const std::string& text) {
        job_.properties["InputOrvantaPassword"] = text;
        EXPECT_EQ(substituted(), "");
        return job_.properties["InputOrvantaPassword"].value_or("null");
    }

    SandboxWallet sandbox_;
    StrictJni jvm_;
    ConnectorJob job_{jvm_};
};

TEST_F(CredentialProperty, ReadsExpandsAndWritesBack) {
    sandbox_.add("pw", "secret");
    EXPECT_EQ(password("<$ovwallet(pw)>"), "<secret>");
    EXPECT_EQ(jvm_.takeCalls(), readCalls("InputOrvantaPassword", 15) +
                                    writeCalls("InputOrvantaPassword", "<secret>"));
}

TEST_F(CredentialProperty, AccessorsAreNamedForSideAndProperty) {
    job_.properties["OutputOrvantaUserName"] = "name";
    EXPECT_EQ(substituted(kOutputSide.userName), "");
    EXPECT_EQ(jvm_.takeCalls(),
              readCalls("OutputOrvantaUserName", 4) + writeCalls("OutputOrvantaUserName", "name"));
}

TEST_F(CredentialProperty, TextWithoutReferenceIsWrittenBackToo) {
    EXPECT_EQ(password("plain"), "plain");
    EXPECT_EQ(jvm_.takeCalls(),
              readCalls("InputOrvantaPassword", 5) + writeCalls("InputOrvantaPassword", "plain"));
}

TEST_F(CredentialProperty, APropertyThatIsNullIsLeftAlone) {
    EXPECT_EQ(substituted(), "");
    EXPECT_EQ(jvm_.takeCalls(), getterCalls("InputOrvantaPassword"));
    EXPECT_FALSE(job_.properties["InputOrvantaPassword"].has_value());
}

TEST_F(CredentialProperty, AnEmptyPropertyIsWrittenBackEmpty) {
    EXPECT_EQ(password(""), "");
    EXPECT_EQ(jvm_.takeCalls(),
              readCalls("InputOrvantaPassword", 0) + writeCalls("InputOrvantaPassword", ""));
}

TEST_F(CredentialProperty, APropertyMayBecomeEmpty) {
    sandbox_.add("empty", "");
    EXPECT_EQ(password("$ovwallet(empty)"), "");
    EXPECT_EQ(jvm_.takeCalls(),
              readCalls("InputOrvantaPassword", 16) + writeCalls("InputOrvantaPassword", ""));
}

TEST_F(CredentialProperty, BytesGoInAndOutWithoutConversion) {
    std::string all;
    for (int value = 0; value < 256; ++value) {
        all.push_back(static_cast<char>(value));
    }
    EXPECT_EQ(password(all), all);
    EXPECT_EQ(password("\xc3"), "\xc3");
    EXPECT_EQ(password("\0"s), "\0"s);
}

TEST_F(CredentialProperty, AfterAFailureNothingIsWritten) {
    job_.properties["InputOrvantaPassword"] = "x$ovwallet(none)";
    EXPECT_EQ(substituted(),
              " failed: Attempt to get value from Orvanta Wallet failed because: There is no "
              "string named \"none\" in the wallet.");
    EXPECT_EQ(jvm_.takeCalls(), readCalls("InputOrvantaPassword", 16));
    EXPECT_EQ(job_.properties["InputOrvantaPassword"], "x$ovwallet(none)");
}

// The first calls of a substitution, up to and including the one that starts with this.
CallRecord callsUpTo(const std::string& last, const CallRecord& calls) {
    CallRecord shortened;
    for (const std::string& call : calls) {
        shortened.push_back(call);
        if (call.starts_with(last)) {
            break;
        }
    }
    return shortened;
}

TEST_F(CredentialProperty, EachCallThatFailsEndsItWithItsException) {
    const std::string get = "GetStaticMethodID(OrvantaPlugInConfiguration, get";
    const std::string set = "GetStaticMethodID(OrvantaPlugInConfiguration, set";
    const CallRecord check{"ExceptionCheck()"};
    const CallRecord cleanUp{"ExceptionCheck()", "DeleteLocalRef(new byte[5])"};
    const struct {
        std::string call;
        std::string outcome;
        CallRecord afterwards;
    } failures[] = {
        {get, "java/lang/NoSuchMethodError: getInputOrvantaPassword", check},
        {"CallStaticObjectMethodV", "java/lang/RuntimeException: the Java method failed", check},
        {"GetByteArrayRegion", "java/lang/ArrayIndexOutOfBoundsException: the region failed",
         check},
        {"NewByteArray",
         "java/lang/OutOfMemoryError: Java heap space failed: Cannot allocate Java byte array.",
         {}},
        {"SetByteArrayRegion", "java/lang/ArrayIndexOutOfBoundsException: the region failed",
         cleanUp},
        {set, "java/lang/NoSuchMethodError: setInputOrvantaPassword", cleanUp},
        {"CallStaticVoidMethodV", "java/lang/RuntimeException: the Java method failed", cleanUp},
    };
    const CallRecord all =
        readCalls("InputOrvantaPassword", 5) + writeCalls("InputOrvantaPassword", "plain");
    job_.properties["InputOrvantaPassword"] = "plain";
    std::uint64_t failAt = 0;
    for (const auto& failure : failures) {
        EXPECT_EQ(substituted(kInputSide.password, ++failAt), failure.outcome);
        EXPECT_EQ(jvm_.failedCall().substr(0, failure.call.size()), failure.call);
        EXPECT_EQ(jvm_.takeCalls(), callsUpTo(failure.call, all) + failure.afterwards);
        EXPECT_EQ(job_.properties["InputOrvantaPassword"], "plain");
    }
    EXPECT_EQ(substituted(kInputSide.password, ++failAt), "");
    EXPECT_EQ(jvm_.failedCall(), "");
}

TEST_F(CredentialProperty, ANewArrayThatIsNullIsAFailureAlsoWithoutAJavaException) {
    job_.properties["InputOrvantaPassword"] = "plain";
    constexpr std::uint64_t kNewByteArray = 4;
    EXPECT_EQ(substituted(kInputSide.password, kNewByteArray, StrictJni::Failure::silent),
              " failed: Cannot allocate Java byte array.");
    EXPECT_EQ(jvm_.failedCall(), "NewByteArray(5)");
}

TEST_F(CredentialProperty, TheNewArrayIsDeletedAlsoWhenTheSetterThrows) {
    job_.properties["InputOrvantaPassword"] = "plain";
    job_.throwingMethods = {"setInputOrvantaPassword"};
    EXPECT_EQ(substituted(), "java/lang/RuntimeException: setInputOrvantaPassword failed");
    EXPECT_EQ(jvm_.takeCalls(),
              readCalls("InputOrvantaPassword", 5) + writeCalls("InputOrvantaPassword", "plain"));
}

TEST_F(CredentialProperty, AMissingAccessorIsJavasOwnError) {
    constexpr const char* kPlugIn =
        "com/orvanta/connector/orvanta/utils/OrvantaPlugInConfiguration";
    job_.properties["InputOrvantaPassword"] = "plain";
    jvm_.removeMethod(kPlugIn, "setInputOrvantaPassword");
    EXPECT_EQ(substituted(), "java/lang/NoSuchMethodError: setInputOrvantaPassword");
    jvm_.removeMethod(kPlugIn, "getInputOrvantaPassword");
    EXPECT_EQ(substituted(), "java/lang/NoSuchMethodError: getInputOrvantaPassword");
    EXPECT_EQ(job_.properties["InputOrvantaPassword"], "plain");
}

TEST(JavaArrayLength, TakesWhatJavaCanIndex) {
    EXPECT_EQ(javaArrayLength(0), 0);
    EXPECT_EQ(javaArrayLength(0x7fffffff), 0x7fffffff);
}

TEST(JavaArrayLength, RefusesTheRest) {
    for (const std::size_t size : {std::size_t{0x80000000}, std::size_t{0x100000000},
                                   std::numeric_limits<std::size_t>::max()}) {
        EXPECT_EQ(thrownBy<OvWalletException>([=] { javaArrayLength(size); }),
                  "Array is too long for Java.")
            << size;
    }
}

}  // namespace
}  // namespace Orvanta_OvWallet
