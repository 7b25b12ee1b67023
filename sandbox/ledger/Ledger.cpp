#include "sandbox/ledger/Ledger.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>

namespace Orvanta_OvWallet::Sandbox {

namespace {

constexpr std::string_view kMagic = "OVWALLET LEDGER1";
constexpr std::string_view kCallsPrefix = "calls.";

// Nanoseconds alone could be those of another process that resets at the same moment.
std::uint64_t freshGeneration() {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    const auto nanoseconds = std::chrono::duration_cast<std::chrono::nanoseconds>(now).count();
    return (static_cast<std::uint64_t>(nanoseconds) << 16U) ^
           static_cast<std::uint64_t>(::getpid());
}

}  // namespace

void resetLedger(Ledger& ledger) {
    std::copy(kMagic.begin(), kMagic.end(), ledger.magic.begin());
    for (auto& counter : ledger.counters) {
        counter = 0;
    }
    for (auto& calls : ledger.calls) {
        calls = 0;
    }
    for (auto& fault : ledger.faults) {
        fault.failIn = 0;
        fault.delayMicroseconds = 0;
        fault.throwKind = 0;
    }
    ledger.generation = freshGeneration();
}

bool hasMagic(const Ledger& ledger) {
    return std::equal(kMagic.begin(), kMagic.end(), ledger.magic.begin(), ledger.magic.end());
}

std::optional<std::int64_t> counterValue(const Ledger& ledger, std::string_view name) {
    if (name.starts_with(kCallsPrefix)) {
        const auto entryPoint = entryPointNamed(name.substr(kCallsPrefix.size()));
        if (!entryPoint) {
            return std::nullopt;
        }
        return static_cast<std::int64_t>(ledger.calls[indexOf(*entryPoint)].load());
    }
    const auto found = std::find(kCounterNames.begin(), kCounterNames.end(), name);
    if (found == kCounterNames.end()) {
        return std::nullopt;
    }
    return ledger.counters[static_cast<std::size_t>(found - kCounterNames.begin())].load();
}

std::string ledgerText(const Ledger& ledger) {
    std::string text;
    for (std::size_t index = 0; index < kCounterNames.size(); ++index) {
        text += std::string(kCounterNames[index]) + ' ' +
                std::to_string(ledger.counters[index].load()) + '\n';
    }
    for (std::size_t index = 0; index < kEntryPointCount; ++index) {
        if (const std::uint64_t calls = ledger.calls[index]; calls != 0) {
            text += std::string(kCallsPrefix) + std::string(kEntryPointNames[index]) + ' ' +
                    std::to_string(calls) + '\n';
        }
    }
    return text;
}

bool requestFailure(Fault& fault, std::uint64_t k, std::string_view text) {
    if (text.size() > kLongestFailText) {
        return false;
    }
    fault.failIn = 0;
    const auto end = std::copy(text.begin(), text.end(), fault.failText.begin());
    *end = '\0';
    fault.failIn = k;
    return true;
}

std::optional<std::string> takeFailure(Fault& fault) {
    std::uint64_t remaining = fault.failIn;
    while (remaining != 0 && !fault.failIn.compare_exchange_weak(remaining, remaining - 1)) {
    }
    if (remaining != 1) {
        return std::nullopt;
    }
    const auto end = std::find(fault.failText.begin(), fault.failText.end(), '\0');
    return std::string(fault.failText.begin(), end);
}

}  // namespace Orvanta_OvWallet::Sandbox
