// The command "ovwallet", run as users run it.
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "sandbox/ledger/LedgerFile.h"
#include "sandbox/store/PercentCode.h"
#include "sandbox/tests/Process.h"
#include "sandbox/tests/TemporaryDirectory.h"

namespace Orvanta_OvWallet::Sandbox {

namespace {

const std::string kCommand = std::string(OVWALLET_SANDBOX_BASE) +
                             "/orvanta/client/14.10/ovwallet/redhatlinux-x8664/ovwallet";

const Outcome kDone{0, "", ""};
const Outcome kWrongUsage{2, "",
                          "ovwallet: Wrong usage; \"ovwallet --help\" shows the right one.\n"};

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

    Fault& faultOf(const std::optional<MappedLedger>& ledger, EntryPoint entryPoint) const {
        return ledger.value().ledger().fault(entryPoint);
    }

    const TemporaryDirectory directory_;
    const std::string wallet_ = directory_ / "wallet";
};

TEST_F(CommandTest, HelpSaysThatNothingIsEncrypted) {
    const Outcome help = run({"--help"});
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_EQ(help.errors, "");
    EXPECT_TRUE(
        help.output.starts_with("ovwallet: the sandbox wallet, a stand-in for development only.\n\n"
                                "It does NOT encrypt."))
        << help.output;
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
    EXPECT_EQ(run({"add", "", "x"}), failure("The name of a string must not be empty."));
    writeText(wallet_ + "/strings", "a\n");
    EXPECT_EQ(run({"list"}),
              failure("The file \"" + wallet_ + "/strings\" is malformed: line 1 has no tab."));
}

TEST_F(CommandTest, WrongUsageExitsWithTwo) {
    for (const std::vector<std::string>& arguments : {std::vector<std::string>{},
                                                      {"frobnicate"},
                                                      {"add"},
                                                      {"add", "a", "b", "c"},
                                                      {"list", "x"},
                                                      {"show"},
                                                      {"delete"},
                                                      {"ledger"},
                                                      {"ledger", "pause"},
                                                      {"fail", "OvWallet_freeV1", "1"},
                                                      {"delay", "OvWallet_freeV1"},
                                                      {"--help", "x"}}) {
        EXPECT_EQ(run(arguments), kWrongUsage) << testing::PrintToString(arguments);
    }
}

TEST_F(CommandTest, DirectoryIsInTheHomeByDefault) {
    EXPECT_EQ(runProcess({kCommand, "add", "a", "1"}, {"HOME=" + directory_.pathname()}), kDone);
    EXPECT_EQ(readText(directory_ / ".ovwallet-sandbox/strings"), "a\t1\n");
    EXPECT_EQ(
        runProcess({kCommand, "list"}, {"OVWALLET_SANDBOX_HOME="}),
        failure("There is no directory for the wallet: neither OVWALLET_SANDBOX_HOME nor HOME "
                "is set."));
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

TEST_F(CommandTest, FaultsNeedALedgerAnEntryPointAndANumber) {
    const Outcome none = failure("There is no ledger; \"ovwallet ledger start\" starts one.");
    EXPECT_EQ(run({"fail", "OvWallet_freeV1", "1", "x"}), none);
    EXPECT_EQ(run({"delay", "OvWallet_freeV1", "1"}), none);
    EXPECT_EQ(run({"throw", "OvWallet_freeV1", "std"}), none);
    EXPECT_EQ(run({"ledger", "start"}), kDone);
    EXPECT_EQ(run({"fail", "freeV1", "1", "x"}),
              failure("There is no entry point named \"freeV1\"."));
    EXPECT_EQ(run({"delay", "OvWallet_freeV1", "1s"}), failure("\"1s\" is not a number."));
    EXPECT_EQ(run({"delay", "OvWallet_freeV1", "-1"}), failure("\"-1\" is not a number."));
    EXPECT_EQ(run({"delay", "OvWallet_freeV1", ""}), failure("\"\" is not a number."));
    EXPECT_EQ(run({"fail", "OvWallet_freeV1", "1", std::string(232, 'x')}),
              failure("The text is longer than 231 bytes."));
    EXPECT_EQ(run({"throw", "OvWallet_freeV1", "int"}), kWrongUsage);
}

}  // namespace

}  // namespace Orvanta_OvWallet::Sandbox
