// The command "ovwallet" of the sandbox wallet.
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <iostream>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "sandbox/ledger/LedgerFile.h"
#include "sandbox/store/Failure.h"
#include "sandbox/store/Files.h"
#include "sandbox/store/SandboxDirectory.h"
#include "sandbox/store/StringFile.h"

namespace Orvanta_OvWallet::Sandbox {

namespace {

constexpr int kExitSuccess = 0;
constexpr int kExitFailure = 1;
constexpr int kExitUsage = 2;

constexpr std::string_view kHelp =
    R"(ovwallet: the sandbox wallet, a stand-in for development only.

It does NOT encrypt. The strings lie readable in a file of your own; never put a real secret there.

  ovwallet add NAME [VALUE]      keep VALUE under NAME; without VALUE, standard input up to its end,
                                 less one newline at the end
  ovwallet list                  the names, one per line
  ovwallet show NAME             the value of NAME
  ovwallet delete NAME           forget NAME

  ovwallet ledger start          count what programs do with the wallet, from zero, in a file
  ovwallet ledger show           what has been counted
  ovwallet ledger stop           remove that file
  ovwallet fail ENTRY K TEXT     the K-th call of the entry point from now fails with TEXT; 0: none
  ovwallet delay ENTRY MICROSECONDS    every call of the entry point waits first; 0: none
  ovwallet throw ENTRY std|other|none  every call of the entry point throws a C++ exception

  ovwallet --help                this text

fail, delay and throw need a ledger. The files lie in $OVWALLET_SANDBOX_HOME, by default
$HOME/.ovwallet-sandbox.
)";

using Arguments = std::span<const std::string>;

// The command line is not one of those that --help shows.
struct UsageError {};

std::string readStandardInput() {
    std::string text;
    std::array<char, 4096> piece{};
    for (;;) {
        const ssize_t size = ::read(STDIN_FILENO, piece.data(), piece.size());
        if (size == 0) {
            break;
        }
        if (size > 0) {
            text.append(piece.data(), static_cast<std::size_t>(size));
        } else if (const int readError = errno; readError != EINTR) {
            throw Failure(FailureCode::terminal,
                          "Cannot read standard input: " + errnoText(readError) + ".");
        }
    }
    if (text.ends_with('\n')) {
        text.pop_back();
    }
    return text;
}

std::uint64_t numberFrom(const std::string& text) {
    std::uint64_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || stop != end) {
        throw Failure(FailureCode::badArgument, "\"" + text + "\" is not a number.");
    }
    return number;
}

void add(Arguments arguments) {
    const std::string value = arguments.size() > 1 ? arguments[1] : readStandardInput();
    changeStrings(directoryFromEnvironment(),
                  [&](Strings& strings) { putString(strings, arguments[0], value); });
}

void list(Arguments /*arguments*/) {
    for (const auto& [name, value] : readStrings(directoryFromEnvironment())) {
        std::cout << name << '\n';
    }
}

void show(Arguments arguments) {
    std::cout << stringNamed(readStrings(directoryFromEnvironment()), arguments[0]) << '\n';
}

void remove(Arguments arguments) {
    changeStrings(directoryFromEnvironment(),
                  [&](Strings& strings) { deleteString(strings, arguments[0]); });
}

[[noreturn]] void throwNoLedger() {
    throw Failure(FailureCode::fileTrouble,
                  "There is no ledger; \"ovwallet ledger start\" starts one.");
}

MappedLedger openLedger() {
    std::optional<MappedLedger> ledger = MappedLedger::open(directoryFromEnvironment());
    if (!ledger) {
        throwNoLedger();
    }
    return std::move(*ledger);
}

void keepLedger(Arguments arguments) {
    if (arguments[0] == "start") {
        startLedgerFile(directoryFromEnvironment());
    } else if (arguments[0] == "show") {
        std::cout << ledgerText(openLedger().ledger());
    } else if (arguments[0] == "stop") {
        if (!stopLedgerFile(directoryFromEnvironment())) {
            throwNoLedger();
        }
    } else {
        throw UsageError();
    }
}

Fault& faultOf(const MappedLedger& ledger, const std::string& entryPointName) {
    const std::optional<EntryPoint> entryPoint = entryPointNamed(entryPointName);
    if (!entryPoint) {
        throw Failure(FailureCode::badArgument,
                      "There is no entry point named \"" + entryPointName + "\".");
    }
    return ledger.ledger().fault(*entryPoint);
}

void fail(Arguments arguments) {
    const MappedLedger ledger = openLedger();
    Fault& fault = faultOf(ledger, arguments[0]);
    if (!requestFailure(fault, numberFrom(arguments[1]), arguments[2])) {
        throw Failure(FailureCode::badArgument,
                      "The text is longer than " + std::to_string(kLongestFailText) + " bytes.");
    }
}

void delay(Arguments arguments) {
    const MappedLedger ledger = openLedger();
    faultOf(ledger, arguments[0]).delayMicroseconds = numberFrom(arguments[1]);
}

void throwFrom(Arguments arguments) {
    const MappedLedger ledger = openLedger();
    Fault& fault = faultOf(ledger, arguments[0]);
    ThrowKind kind = ThrowKind::nothing;
    if (arguments[1] == "std") {
        kind = ThrowKind::standardException;
    } else if (arguments[1] == "other") {
        kind = ThrowKind::otherType;
    } else if (arguments[1] != "none") {
        throw UsageError();
    }
    fault.throwKind = static_cast<std::uint64_t>(kind);
}

struct Subcommand {
    std::string_view name;
    std::size_t fewestArguments;
    std::size_t mostArguments;
    void (*run)(Arguments);
};

constexpr auto kSubcommands = std::to_array<Subcommand>({{"add", 1, 2, add},
                                                         {"list", 0, 0, list},
                                                         {"show", 1, 1, show},
                                                         {"delete", 1, 1, remove},
                                                         {"ledger", 1, 1, keepLedger},
                                                         {"fail", 3, 3, fail},
                                                         {"delay", 2, 2, delay},
                                                         {"throw", 2, 2, throwFrom}});

void run(Arguments arguments) {
    if (arguments.empty()) {
        throw UsageError();
    }
    if (arguments[0] == "--help" && arguments.size() == 1) {
        std::cout << kHelp;
        return;
    }
    const auto found =
        std::find_if(kSubcommands.begin(), kSubcommands.end(),
                     [&](const Subcommand& subcommand) { return subcommand.name == arguments[0]; });
    arguments = arguments.subspan(1);
    if (found == kSubcommands.end() || arguments.size() < found->fewestArguments ||
        arguments.size() > found->mostArguments) {
        throw UsageError();
    }
    found->run(arguments);
}

int runCommand(Arguments arguments) {
    try {
        run(arguments);
        std::cout.flush();
        if (!std::cout) {
            throw Failure(FailureCode::terminal, "Cannot write to standard output.");
        }
        return kExitSuccess;
    } catch (const UsageError&) {
        std::cerr << "ovwallet: Wrong usage; \"ovwallet --help\" shows the right one.\n";
        return kExitUsage;
    } catch (const std::exception& exception) {
        std::cerr << "ovwallet: " << exception.what() << '\n';
        return kExitFailure;
    }
}

}  // namespace

}  // namespace Orvanta_OvWallet::Sandbox

int main(int argumentCount, char** arguments) {
    const std::vector<std::string> texts(arguments + 1, arguments + argumentCount);
    return Orvanta_OvWallet::Sandbox::runCommand(texts);
}
