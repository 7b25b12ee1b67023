#include "substitution/credentialPass.h"

#include <gtest/gtest.h>

#include "doubles/ConnectorCalls.h"
#include "doubles/OpenSession.h"
#include "doubles/SandboxWallet.h"

namespace Orvanta_OvWallet {
namespace {

using Names = std::vector<std::string>;

class CredentialPass : public ::testing::Test {
  protected:
    CredentialPass() { SandboxWallet::redirectInstallation(); }
    ~CredentialPass() override { EXPECT_EQ(sandbox_.held(), ""); }

    std::string passed(const JobSide& side, std::uint64_t failAt = 0) {
        return withSession(jvm_, job_, [&](const WalletSession& session) {
            jvm_.failCall(failAt);
            runCredentialPass(session, side);
        });
    }

    void setInput(const std::optional<std::string>& url, const std::string& userName,
                  const std::string& password) {
        job_.properties = {{"InputJdbcUrl", url},
                           {"InputOrvantaUserName", userName},
                           {"InputOrvantaPassword", password}};
    }

    std::string userName() { return job_.properties["InputOrvantaUserName"].value_or("null"); }
    std::string password() { return job_.properties["InputOrvantaPassword"].value_or("null"); }

    SandboxWallet sandbox_;
    StrictJni jvm_;
    ConnectorJob job_{jvm_};
};

TEST_F(CredentialPass, ReadsTheUrlThenDoesUserNameThenPassword) {
    sandbox_.add("u_dbhost", "name");
    sandbox_.add("p_dbhost", "secret");
    setInput("jdbc:orvanta://dbhost/", "$ovwallet(u_$(ovpid))", "$ovwallet(p_$(ovpid))");
    EXPECT_EQ(passed(kInputSide), "");
    EXPECT_EQ(jvm_.takeCalls(), urlCalls("Input", 22) + readCalls("InputOrvantaUserName", 21) +
                                    writeCalls("InputOrvantaUserName", "name") +
                                    readCalls("InputOrvantaPassword", 21) +
                                    writeCalls("InputOrvantaPassword", "secret"));
    EXPECT_EQ(sandbox_.takeAsked(), (Names{"u_dbhost", "p_dbhost"}));
}

TEST_F(CredentialPass, TheOtherSideHasItsOwnAccessors) {
    sandbox_.add("com.orvanta.OV2", "v");
    job_.properties = {{"OutputJdbcUrl", "jdbc:orvanta://o"},
                       {"OutputOrvantaUserName", "$ovwallet"},
                       {"OutputOrvantaPassword", "p"}};
    EXPECT_EQ(passed(kOutputSide), "");
    EXPECT_EQ(jvm_.takeCalls(), urlCalls("Output", 16) + readCalls("OutputOrvantaUserName", 9) +
                                    writeCalls("OutputOrvantaUserName", "v") +
                                    readCalls("OutputOrvantaPassword", 1) +
                                    writeCalls("OutputOrvantaPassword", "p"));
}

TEST_F(CredentialPass, AUrlThatIsNullCountsAsAnEmptyOne) {
    sandbox_.add("u_", "name");
    sandbox_.add("com.orvanta.OV2", "secret");
    setInput(std::nullopt, "$ovwallet(u_$(ovpid))", "$ovwallet");
    EXPECT_EQ(passed(kInputSide), "");
    EXPECT_EQ(jvm_.takeCalls(), urlGetterCalls("Input") + readCalls("InputOrvantaUserName", 21) +
                                    writeCalls("InputOrvantaUserName", "name") +
                                    readCalls("InputOrvantaPassword", 9) +
                                    writeCalls("InputOrvantaPassword", "secret"));
}

TEST_F(CredentialPass, AnEmptyUrlHasNoDatabaseId) {
    sandbox_.add("u_", "name");
    setInput("", "$ovwallet(u_$(ovpid))", "p");
    EXPECT_EQ(passed(kInputSide), "");
    EXPECT_EQ(userName(), "name");
    const CallRecord calls = jvm_.takeCalls();
    const CallRecord expected = urlCalls("Input", 0);
    EXPECT_EQ(
        CallRecord(calls.begin(), calls.begin() + static_cast<std::ptrdiff_t>(expected.size())),
        expected);
}

TEST_F(CredentialPass, TheUrlIsOnlyRead) {
    setInput("jdbc:orvanta://$ovwallet/ LOGMECH =\t'a''b' ", "u", "p");
    EXPECT_EQ(passed(kInputSide), "");
    EXPECT_EQ(job_.properties["InputJdbcUrl"], "jdbc:orvanta://$ovwallet/ LOGMECH =\t'a''b' ");
    EXPECT_EQ(sandbox_.takeAsked(), Names{});
}

TEST_F(CredentialPass, TheLogonMechanismOfAUrlIsNotTaken) {
    sandbox_.add("com.orvanta.OV2", "default");
    setInput("jdbc:orvanta://dbhost/DATABASE=sales,LOGMECH=LDAP", "$ovwallet", "$ovwallet");
    EXPECT_EQ(passed(kInputSide), "");
    EXPECT_EQ(userName() + " " + password(), "default default");
}

TEST_F(CredentialPass, PropertiesThatAreNullAreLeftAlone) {
    job_.properties = {{"InputJdbcUrl", "jdbc:orvanta://dbhost/"}};
    EXPECT_EQ(passed(kInputSide), "");
    EXPECT_EQ(jvm_.takeCalls(), urlCalls("Input", 22) + getterCalls("InputOrvantaUserName") +
                                    getterCalls("InputOrvantaPassword"));
}

TEST_F(CredentialPass, AFailingUserNameLeavesThePasswordAlone) {
    sandbox_.add("pw", "secret");
    setInput("jdbc:orvanta://dbhost/", "$ovwallet(none)", "$ovwallet(pw)");
    EXPECT_EQ(passed(kInputSide),
              " failed: Attempt to get value from Orvanta Wallet failed because: There is no "
              "string named \"none\" in the wallet.");
    EXPECT_EQ(jvm_.takeCalls(), urlCalls("Input", 22) + readCalls("InputOrvantaUserName", 15));
    EXPECT_EQ(userName() + " " + password(), "$ovwallet(none) $ovwallet(pw)");
}

TEST_F(CredentialPass, AFailingPasswordLeavesTheUserNameWritten) {
    sandbox_.add("un", "name");
    setInput("jdbc:orvanta://dbhost/", "$ovwallet(un)", "$ovwallet(none)");
    EXPECT_EQ(passed(kInputSide),
              " failed: Attempt to get value from Orvanta Wallet failed because: There is no "
              "string named \"none\" in the wallet.");
    EXPECT_EQ(userName() + " " + password(), "name $ovwallet(none)");
}

TEST_F(CredentialPass, EachFailureWhileReadingTheUrlEndsThePass) {
    setInput("jdbc:orvanta://dbhost/", "u", "p");
    const CallRecord all = urlCalls("Input", 22);
    const struct {
        std::string outcome;
        std::size_t calls;
    } failures[] = {
        {"java/lang/NoSuchMethodError: getInputJdbcUrl", 2},
        {"java/lang/RuntimeException: the Java method failed", 4},
        {"java/lang/RuntimeException: the Java method failed", 6},
        {"java/lang/ArrayIndexOutOfBoundsException: the region failed", 9},
    };
    std::uint64_t failAt = 0;
    for (const auto& failure : failures) {
        EXPECT_EQ(passed(kInputSide, ++failAt), failure.outcome);
        EXPECT_EQ(
            jvm_.takeCalls(),
            CallRecord(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(failure.calls)));
    }
}

TEST_F(CredentialPass, AThrowingGetBytesEndsThePass) {
    setInput("jdbc:orvanta://dbhost/", "u", "p");
    job_.throwingMethods = {"getBytes"};
    EXPECT_EQ(passed(kInputSide), "java/lang/RuntimeException: getBytes failed");
}

TEST_F(CredentialPass, WithoutTheCharsetGetBytesThrows) {
    jvm_.removeStaticField("com/orvanta/connector/common/utils/StandardCharsets", "UTF_8");
    jvm_.defineStaticField("com/orvanta/connector/common/utils/StandardCharsets", "UTF_8",
                           "Ljava/nio/charset/Charset;", nullptr);
    setInput("jdbc:orvanta://dbhost/", "u", "p");
    EXPECT_EQ(passed(kInputSide), "java/lang/NullPointerException: charset");
}

}  // namespace
}  // namespace Orvanta_OvWallet
