#include "sandbox/command/commands.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <iostream>

#include "sandbox/ledger/LedgerFile.h"
#include "sandbox/store/Failure.h"
#include "sandbox/store/Files.h"
#include "sandbox/store/SandboxDirectory.h"
#include "sandbox/store/StringFile.h"
#include "sandbox/store/Terminal.h"

namespace Orvanta_OvWallet::Sandbox {

namespace {

std::string wholeStandardInput() {
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

std::string askedTwice() {
    std::string value = readStandardInput("Value: ");
    requireSameTwice(value, readStandardInput("Again: "));
    return value;
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

ThrowKind throwKindFrom(const std::string& text) {
    if (text == "std") {
        return ThrowKind::standardException;
    }
    return text == "other" ? ThrowKind::otherType : ThrowKind::nothing;
}

EntryPoint entryPointFrom(const std::string& name) {
    const std::optional<EntryPoint> entryPoint = entryPointNamed(name);
    if (!entryPoint) {
        throw Failure(FailureCode::badArgument, "There is no entry point named \"" + name + "\".");
    }
    return *entryPoint;
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

std::string askedValue() {
    return ::isatty(STDIN_FILENO) != 0 ? askedTwice() : wholeStandardInput();
}

}  // namespace

void addString(const Arguments& arguments) {
    const std::string value = arguments.value ? *arguments.value : askedValue();
    changeStrings(directoryFromEnvironment(),
                  [&](Strings& strings) { putString(strings, arguments.name, value); });
}

void listNames(const Arguments& /*arguments*/) {
    for (const auto& [name, value] : readStrings(directoryFromEnvironment())) {
        std::cout << name << '\n';
    }
}

void checkName(const Arguments& arguments) {
    stringNamed(readStrings(directoryFromEnvironment()), arguments.name);
}

void showString(const Arguments& arguments) {
    std::cout << stringNamed(readStrings(directoryFromEnvironment()), arguments.name) << '\n';
}

void removeString(const Arguments& arguments) {
    changeStrings(directoryFromEnvironment(),
                  [&](Strings& strings) { deleteString(strings, arguments.name); });
}

void startLedger(const Arguments& /*arguments*/) {
    startLedgerFile(directoryFromEnvironment());
}

void showLedger(const Arguments& /*arguments*/) {
    std::cout << ledgerText(openLedger().ledger());
}

void stopLedger(const Arguments& /*arguments*/) {
    if (!stopLedgerFile(directoryFromEnvironment())) {
        throwNoLedger();
    }
}

void makeCallFail(const Arguments& arguments) {
    const EntryPoint entryPoint = entryPointFrom(arguments.entryPoint);
    const std::uint64_t k = numberFrom(arguments.number);
    const MappedLedger ledger = openLedger();
    if (!requestFailure(ledger.ledger().fault(entryPoint), k, arguments.text)) {
        throw Failure(FailureCode::badArgument,
                      "The text is longer than " + std::to_string(kLongestFailText) + " bytes.");
    }
}

void delayCalls(const Arguments& arguments) {
    const EntryPoint entryPoint = entryPointFrom(arguments.entryPoint);
    const std::uint64_t microseconds = numberFrom(arguments.number);
    const MappedLedger ledger = openLedger();
    ledger.ledger().fault(entryPoint).delayMicroseconds = microseconds;
}

void throwFromCalls(const Arguments& arguments) {
    const EntryPoint entryPoint = entryPointFrom(arguments.entryPoint);
    const MappedLedger ledger = openLedger();
    ledger.ledger().fault(entryPoint).throwKind =
        static_cast<std::uint64_t>(throwKindFrom(arguments.text));
}

}  // namespace Orvanta_OvWallet::Sandbox
