// The command "ovwallet", run as users run it.
#include <filesystem>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "sandbox/ledger/LedgerFile.h"
#include "sandbox/store/PercentCode.h"
#include "sandbox/tests/Process.h"
#include "sandbox/tests/TemporaryDirectory.h"
#include "sandbox/tests/TerminalUser.h"

namespace Orvanta_OvWallet::Sandbox {

namespace {

const std::string kCommand = std::string(OVWALLET_SANDBOX_BASE) +
                             "/orvanta/client/14.10/ovwallet/redhatlinux-x8664/ovwallet";

const Outcome kDone{0, "", ""};

Outcome wrongUsage(const std::string& message) {
    return {2, "", "ovwallet: " + message + "\n"};
}

Outcome unreadable(const std::string& complaint) {
    return wrongUsage(complaint + "; \"ovwallet --help\" shows the right usage.");
}

Outcome unexpected(const std::string& word) {
    return unreadable("The following argument was not expected: " + word);
}

Outcome failure(const std::string& message) {
    return {1, "", "ovwallet: " + message + "\n"};
}

Outcome output(const std::string& text) {
    return {0, text, ""};
}

class CommandTest : public testing::Test {
  protected:
    Outcome run(std::vector<std::string> arguments, const std::string& input = {}) const {
        arguments.insert(arguments.begin(), kCommand);
        return runProcess(arguments, {"OVWALLET_SANDBOX_HOME=" + wallet_}, input);
    }

    // All that the terminal shows while "add" asks for a value on it, and the exit status.
    std::string onTerminal(const std::string& name, const std::string& first,
                           const std::string& second) const {
        TerminalUser user;
        std::thread typing([&] {
            user.answer("Value: ", first);
            user.answer("Again: ", second);
        });
        const Outcome outcome = runProcess({"/bin/sh", "-c", R"(exec "$0" add "$1" < "$2" 2> "$2")",
                                            kCommand, name, user.pathname()},
                                           {"OVWALLET_SANDBOX_HOME=" + wallet_});
        typing.join();
        user.show("status " + std::to_string(outcome.exitCode));
        return user.shownUpTo("status " + std::to_string(outcome.exitCode));
    }

    Fault& faultOf(const std::optional<MappedLedger>& ledger, EntryPoint entryPoint) const {
        return ledger.value().ledger().fault(entryPoint);
    }

    const TemporaryDirectory directory_;
    const std::string wallet_ = directory_ / "wallet";
};

TEST_F(CommandTest, HelpSaysThatNothingIsEncrypted) {
    for (const char* const word : {"--help", "-h", "help"}) {
        const Outcome help = run({word});
        EXPECT_EQ(help.exitCode, 0);
        EXPECT_EQ(help.errors, "");
        EXPECT_TRUE(
            help.output.starts_with("The sandbox wallet, a stand-in for development only.\n\n"
                                    "It does NOT encrypt."))
            << help.output;
        EXPECT_NE(help.output.find("\nUsage: ovwallet [OPTIONS] SUBCOMMAND\n"), std::string::npos)
            << help.output;
    }
    EXPECT_NE(run({"add", "--help"}).output.find("\nUsage: ovwallet add [OPTIONS] NAME [VALUE]\n"),
              std::string::npos);
    EXPECT_EQ(run({"list"}), kDone);
}

TEST_F(CommandTest, VersionNamesTheProjectThatItBelongsTo) {
    EXPECT_EQ(run({"--version"}),
              output("ovwallet 14.10, the sandbox wallet of walletcaller " OVWALLET_SANDBOX_VERSION
                     "\n"));
}

TEST_F(CommandTest, NamesAndValuesThatBeginWithAHyphenStandAfterTwo) {
    EXPECT_EQ(run({"add", "--", "--help", "-v"}), kDone);
    EXPECT_EQ(run({"add", "plain", "--", "--"}), kDone);
    EXPECT_EQ(run({"list"}), output("--help\nplain\n"));
    EXPECT_EQ(run({"show", "--", "--help"}), output("-v\n"));
    EXPECT_EQ(run({"show", "plain"}), output("--\n"));
    EXPECT_EQ(run({"check", "--", "--help"}), kDone);
    EXPECT_EQ(run({"delete", "--", "--help"}), kDone);
    EXPECT_EQ(run({"list"}), output("plain\n"));
}

TEST_F(CommandTest, WordsThatMeanSomethingElsewhereAreNamesAndValues) {
    EXPECT_EQ(run({"add", "list", "add"}), kDone);
    EXPECT_EQ(run({"add", "help", "[a,b]"}), kDone);
    EXPECT_EQ(run({"show", "list"}), output("add\n"));
    EXPECT_EQ(run({"show", "help"}), output("[a,b]\n"));
}

TEST_F(CommandTest, CheckTellsByItsExitStatusWhetherANameIsThere) {
    EXPECT_EQ(run({"add", "a", "1"}), kDone);
    EXPECT_EQ(run({"check", "a"}), kDone);
    EXPECT_EQ(run({"check", "b"}), failure("There is no string named \"b\" in the wallet."));
}

TEST_F(CommandTest, OnATerminalTheValueIsAskedForTwiceAndNotShown) {
    EXPECT_EQ(onTerminal("a", "two words", "two words"), "Value: \r\nAgain: \r\nstatus 0");
    EXPECT_EQ(run({"show", "a"}), output("two words\n"));
    EXPECT_EQ(onTerminal("a", "other", "otter"),
              "Value: \r\nAgain: \r\novwallet: The two lines are not the same.\r\nstatus 1");
    EXPECT_EQ(run({"show", "a"}), output("two words\n"));
}

TEST_F(CommandTest, AddedStringIsShownListedAndDeleted) {
    EXPECT_EQ(run({"add", "b/1", "two words"}), kDone);
    EXPECT_EQ(run({"add", "a", ""}), kDone);
    EXPECT_EQ(run({"list"}), output("a\nb/1\n"));
    EXPECT_EQ(run({"show", "b/1"}), output("two words\n"));
    EXPECT_EQ(run({"show", "a"}), output("\n"));
    EXPECT_EQ(readText(wallet_ + "/strings"), "a\t\nb%2F1\ttwo%20words\n");
    EXPECT_EQ(run({"delete", "b/1"}), kDone);
    EXPECT_EQ(run({"list"}), output("a\n"));
}

TEST_F(CommandTest, FirstAddMakesAPrivateDirectoryAndReadingMakesNone) {
    EXPECT_EQ(run({"list"}), kDone);
    EXPECT_FALSE(std::filesystem::exists(wallet_));
    EXPECT_EQ(run({"add", "a", "1"}), kDone);
    EXPECT_EQ(modeOf(wallet_), 0700U);
    EXPECT_EQ(modeOf(wallet_ + "/strings"), 0600U);
}

TEST_F(CommandTest, ValueFromStandardInputLosesOneNewline) {
    EXPECT_EQ(run({"add", "one"}, "line\n"), kDone);
    EXPECT_EQ(run({"add", "two"}, "line\n\n"), kDone);
    EXPECT_EQ(run({"add", "none"}, ""), kDone);
    const std::string large(10'000, 'x');
    EXPECT_EQ(run({"add", "large"}, large), kDone);
    EXPECT_EQ(run({"add", "bytes"}, everyByte()), kDone);
    EXPECT_EQ(readText(wallet_ + "/strings"), "bytes\t" + percentEncode(everyByte()) + "\nlarge\t" +
                                                  large + "\nnone\t\none\tline\ntwo\tline%0A\n");
    EXPECT_EQ(run({"show", "bytes"}), output(everyByte() + '\n'));
}

TEST_F(CommandTest, FailuresAreOneLine) {
    EXPECT_EQ(run({"show", "a"}), failure("There is no string named \"a\" in the wallet."));
    EXPECT_EQ(run({"delete", "a"}), failure("There is no string named \"a\" in the wallet."));
    writeText(wallet_ + "/strings", "a\n");
    EXPECT_EQ(run({"list"}),
              failure("The file \"" + wallet_ + "/strings\" is malformed: line 1 has no tab."));
}

TEST_F(CommandTest, WrongUsageExitsWithTwoAndNamesTheWrongWord) {
    const std::pair<std::vector<std::string>, Outcome> cases[] = {
        {{}, unreadable("A subcommand is required")},
        {{"frobnicate"}, unexpected("frobnicate")},
        {{"--frobnicate"}, unexpected("--frobnicate")},
        {{"add"}, unreadable("NAME is required")},
        {{"add", "--frobnicate"}, unexpected("--frobnicate")},
        {{"add", "a", "-x"}, unexpected("-x")},
        {{"add", "a", "b", "c"}, unexpected("c")},
        {{"add", "", "x"}, wrongUsage("The name of a string must not be empty.")},
        {{"list", "x"}, unexpected("x")},
        {{"list", "list"}, unexpected("list")},
        {{"check"}, unreadable("NAME is required")},
        {{"show"}, unreadable("NAME is required")},
        {{"delete"}, unreadable("NAME is required")},
        {{"ledger"}, unreadable("A subcommand is required")},
        {{"ledger", "pause"}, unexpected("pause")},
        {{"fail", "OvWallet_freeV1", "1"}, unreadable("TEXT is required")},
        {{"fail", "freeV1", "1", "x"}, wrongUsage("There is no entry point named \"freeV1\".")},
        {{"delay", "OvWallet_freeV1"}, unreadable("MICROSECONDS is required")},
        {{"delay", "OvWallet_freeV1", "1s"}, wrongUsage("\"1s\" is not a number.")},
        {{"delay", "OvWallet_freeV1", "-1"}, wrongUsage("\"-1\" is not a number.")},
        {{"delay", "OvWallet_freeV1", ""}, wrongUsage("\"\" is not a number.")},
        {{"throw", "OvWallet_freeV1", "int"}, unreadable("KIND: int not in {std,other,none}")},
    };
    for (const auto& [arguments, outcome] : cases) {
        EXPECT_EQ(run(arguments), outcome) << testing::PrintToString(arguments);
    }
    EXPECT_FALSE(std::filesystem::exists(wallet_ + "/strings"));
}

TEST_F(CommandTest, DirectoryIsInTheHomeByDefault) {
    EXPECT_EQ(runProcess({kCommand, "add", "a", "1"}, {"HOME=" + directory_.pathname()}), kDone);
    EXPECT_EQ(readText(directory_ / ".ovwallet-sandbox/strings"), "a\t1\n");
    EXPECT_EQ(
        runProcess({kCommand, "list"}, {}),
        failure("There is no directory for the wallet: neither OVWALLET_SANDBOX_HOME nor HOME "
                "is set."));
}

TEST_F(CommandTest, DirectoryWhoseNameIsEmptyIsAnErrorAndNotTheDefault) {
    EXPECT_EQ(runProcess({kCommand, "add", "a", "1"},
                         {"OVWALLET_SANDBOX_HOME=", "HOME=" + directory_.pathname()}),
              failure("OVWALLET_SANDBOX_HOME is set and empty; it has to name a directory."));
    EXPECT_FALSE(std::filesystem::exists(directory_ / ".ovwallet-sandbox"));
}

TEST_F(CommandTest, OutputThatCannotBeWrittenIsAFailure) {
    EXPECT_EQ(run({"add", "a", "1"}), kDone);
    EXPECT_EQ(runProcess({kCommand, "list"}, {"OVWALLET_SANDBOX_HOME=" + wallet_}, "", "/dev/full"),
              failure("Cannot write to standard output."));
}

TEST_F(CommandTest, LedgerIsStartedShownAndStopped) {
    const Outcome none = failure("There is no ledger; \"ovwallet ledger start\" starts one.");
    EXPECT_EQ(run({"ledger", "show"}), none);
    EXPECT_EQ(run({"ledger", "stop"}), none);
    EXPECT_EQ(run({"ledger", "start"}), kDone);
    const std::string zeroes =
        "live.wallets 0\nlive.locked_vectors 0\nlive.vectors 0\nlive.name_lists 0\n"
        "live.errors 0\nloads 0\nunloads 0\nbad_frees 0\nbad_uses 0\nleaks 0\n";
    EXPECT_EQ(run({"ledger", "show"}), output(zeroes));
    ++MappedLedger::open(wallet_)->ledger().calls[indexOf(EntryPoint::OvWallet_freeV1)];
    EXPECT_EQ(run({"ledger", "show"}), output(zeroes + "calls.OvWallet_freeV1 1\n"));
    EXPECT_EQ(run({"ledger", "start"}), kDone);
    EXPECT_EQ(run({"ledger", "show"}), output(zeroes));
    EXPECT_EQ(run({"ledger", "stop"}), kDone);
    EXPECT_EQ(run({"ledger", "show"}), none);
}

TEST_F(CommandTest, FaultsAreWrittenToTheLedger) {
    EXPECT_EQ(run({"ledger", "start"}), kDone);
    EXPECT_EQ(run({"fail", "OvWallet_getVersion", "2", "no version"}), kDone);
    EXPECT_EQ(run({"delay", "OvWallet_freeV1", "1500"}), kDone);
    EXPECT_EQ(run({"throw", "OvWallet_freeError", "std"}), kDone);
    EXPECT_EQ(run({"throw", "OvWallet_shutdown", "other"}), kDone);
    const auto ledger = MappedLedger::open(wallet_);
    EXPECT_EQ(takeFailure(faultOf(ledger, EntryPoint::OvWallet_getVersion)), std::nullopt);
    EXPECT_EQ(takeFailure(faultOf(ledger, EntryPoint::OvWallet_getVersion)), "no version");
    EXPECT_EQ(faultOf(ledger, EntryPoint::OvWallet_freeV1).delayMicroseconds, 1500U);
    EXPECT_EQ(faultOf(ledger, EntryPoint::OvWallet_freeError).throwKind, 1U);
    EXPECT_EQ(faultOf(ledger, EntryPoint::OvWallet_shutdown).throwKind, 2U);
    EXPECT_EQ(run({"throw", "OvWallet_shutdown", "none"}), kDone);
    EXPECT_EQ(faultOf(ledger, EntryPoint::OvWallet_shutdown).throwKind, 0U);
}

TEST_F(CommandTest, FaultsNeedALedgerAndATextThatFits) {
    const Outcome none = failure("There is no ledger; \"ovwallet ledger start\" starts one.");
    EXPECT_EQ(run({"fail", "OvWallet_freeV1", "1", "x"}), none);
    EXPECT_EQ(run({"delay", "OvWallet_freeV1", "1"}), none);
    EXPECT_EQ(run({"throw", "OvWallet_freeV1", "std"}), none);
    EXPECT_EQ(run({"ledger", "start"}), kDone);
    EXPECT_EQ(run({"fail", "OvWallet_freeV1", "1", std::string(232, 'x')}),
              wrongUsage("The text is longer than 231 bytes."));
}

}  // namespace

}  // namespace Orvanta_OvWallet::Sandbox
