// The command "ovwallet" of the sandbox wallet: its command line.
#include <iostream>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "sandbox/command/commands.h"
#include "sandbox/store/Failure.h"

namespace Orvanta_OvWallet::Sandbox {

namespace {

constexpr int kExitSuccess = 0;
constexpr int kExitFailure = 1;
constexpr int kExitUsage = 2;

constexpr const char* kDescription =
    "The sandbox wallet, a stand-in for development only.\n\n"
    "It does NOT encrypt. The strings lie readable in a file of your own; never put a real secret "
    "there.\n";

constexpr const char* kFooter =
    R"(What begins with "-" is an option; after "--" it is a name or a value.
The files lie in $OVWALLET_SANDBOX_HOME, by default $HOME/.ovwallet-sandbox.
Exit status: 0 done, 1 not done, 2 wrong usage.)";

constexpr const char* kForTests = "For tests";

class CommandLine {
  public:
    CommandLine() : app_(kDescription, "ovwallet") {
        app_.footer(kFooter);
        app_.require_subcommand(1);
        app_.set_help_flag("-h,--help", "This text, or that of one command");
        app_.set_version_flag(
            "--version",
            "ovwallet 14.10, the sandbox wallet of walletcaller " OVWALLET_SANDBOX_VERSION,
            "Whose command this is");
        addStringCommands();
        addTestCommands();
        app_.add_subcommand("help", "This text")->callback([this] {
            std::cout << app_.get_formatter()->make_help(&app_, app_.get_name(),
                                                         CLI::AppFormatMode::Normal);
        });
    }

    // Does what the command line says. Throws CLI::Error on wrong usage, and for --help and
    // --version; what the commands throw otherwise.
    void run(int argumentCount, char** arguments) {
        try {
            app_.parse(argumentCount, arguments);
        } catch (const CLI::RequiredError&) {
            // Something is missing because something else stands there: that is the word to name.
            if (const std::vector<std::string> unknown = app_.remaining(true); !unknown.empty()) {
                throw CLI::ExtrasError({unknown.front()});
            }
            throw;
        }
    }

    // What an error of CLI11 says, and the exit status.
    int tell(const CLI::Error& error) {
        if (error.get_exit_code() == kExitSuccess) {
            return app_.exit(error);
        }
        std::cerr << "ovwallet: " << error.what()
                  << "; \"ovwallet --help\" shows the right usage.\n";
        return kExitUsage;
    }

  private:
    using Command = void (*)(const Arguments&);

    void addStringCommands() {
        CLI::App* const add = addCommand("add",
                                         "Keep VALUE under NAME; without VALUE, ask for it twice "
                                         "on a terminal, or take standard "
                                         "input, less one newline at the end",
                                         addString);
        addWord(add, "NAME", arguments_.name);
        // Not bound to the optional: CLI11 takes an empty word for none.
        add->add_option_function<std::string>(
            "VALUE", [this](const std::string& value) { arguments_.value = value; });
        addCommand("list", "The names, one per line", listNames);
        addWord(addCommand("check", "Whether NAME is there: exit status 0 or 1", checkName), "NAME",
                arguments_.name);
        addWord(addCommand("show", "The value of NAME", showString), "NAME", arguments_.name);
        addWord(addCommand("delete", "Forget NAME", removeString), "NAME", arguments_.name);
    }

    void addTestCommands() {
        CLI::App* const ledger =
            app_.add_subcommand("ledger", "Count in a file what programs do with the wallet");
        ledger->group(kForTests)->require_subcommand(1);
        addCommand("start", "Count from zero", startLedger, ledger);
        addCommand("show", "What has been counted", showLedger, ledger);
        addCommand("stop", "Remove the file", stopLedger, ledger);

        CLI::App* const fail = addFaultCommand(
            "fail", "The K-th call of the entry point from now fails with TEXT; 0: none",
            makeCallFail);
        addWord(fail, "K", arguments_.number);
        addWord(fail, "TEXT", arguments_.text);
        addWord(addFaultCommand("delay", "Every call of the entry point waits first; 0: none",
                                delayCalls),
                "MICROSECONDS", arguments_.number);
        addWord(addFaultCommand("throw", "Every call of the entry point throws a C++ exception",
                                throwFromCalls),
                "KIND", arguments_.text)
            ->description("std, other or none")
            ->check(CLI::IsMember({"std", "other", "none"}));
    }

    CLI::App* addCommand(const char* word, const char* description, Command command,
                         CLI::App* parent = nullptr) {
        CLI::App* const added =
            (parent == nullptr ? &app_ : parent)->add_subcommand(word, description);
        added->callback([this, command] { command(arguments_); });
        return added;
    }

    CLI::App* addFaultCommand(const char* word, const std::string& description, Command command) {
        CLI::App* const added =
            addCommand(word, (description + " (needs a ledger)").c_str(), command);
        added->group(kForTests);
        addWord(added, "ENTRY", arguments_.entryPoint);
        return added;
    }

    static CLI::Option* addWord(CLI::App* command, const char* word, std::string& text) {
        return command->add_option(word, text)->required()->type_name("");
    }

    CLI::App app_;
    Arguments arguments_;
};

int runCommand(int argumentCount, char** arguments) {
    try {
        CommandLine commandLine;
        int status = kExitSuccess;
        try {
            commandLine.run(argumentCount, arguments);
        } catch (const CLI::Error& error) {
            status = commandLine.tell(error);
        }
        std::cout.flush();
        if (!std::cout) {
            throw Failure(FailureCode::terminal, "Cannot write to standard output.");
        }
        return status;
    } catch (const Failure& failure) {
        std::cerr << "ovwallet: " << failure.what() << '\n';
        return failure.code() == FailureCode::badArgument ? kExitUsage : kExitFailure;
    } catch (const std::exception& exception) {
        std::cerr << "ovwallet: " << exception.what() << '\n';
        return kExitFailure;
    }
}

}  // namespace

}  // namespace Orvanta_OvWallet::Sandbox

// Nothing but a stream could throw past the handlers, and these streams do not.
// NOLINTNEXTLINE(bugprone-exception-escape)
int main(int argumentCount, char** arguments) {
    return Orvanta_OvWallet::Sandbox::runCommand(argumentCount, arguments);
}
