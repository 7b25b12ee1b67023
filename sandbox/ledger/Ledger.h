// What the sandbox wallet counts, and how its calls are told to misbehave.
//
// One ledger is either the library's own, gone when the library is unloaded, or the content of the
// file "ledger", mapped by every process that uses it. So all of it is plain memory of a fixed
// layout, and what changes is atomic: any number of processes may count in it while others read.
//
// The generation tells one life of a ledger from the next. An object remembers the generation in
// which it was counted as live; freeing it after a reset then does not count down what was never
// counted up.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "sandbox/ledger/EntryPointNames.h"

namespace Orvanta_OvWallet::Sandbox {

enum class Counter : std::size_t {
    liveWallets,
    liveLockedVectors,
    liveVectors,
    liveNameLists,
    liveErrors,
    loads,
    unloads,
    badFrees,  // a free function got a handle that was not live
    badUses,   // another entry point got one
    leaks,     // handles that were live when the library was unloaded
};

inline constexpr auto kCounterNames = std::to_array<std::string_view>(
    {"live.wallets", "live.locked_vectors", "live.vectors", "live.name_lists", "live.errors",
     "loads", "unloads", "bad_frees", "bad_uses", "leaks"});

enum class ThrowKind : std::uint64_t {
    nothing = 0,
    standardException = 1,  // std::runtime_error("the client library threw")
    otherType = 2,          // no std::exception
};

// How the calls of one entry point are told to misbehave; all zero: not at all.
struct Fault {
    std::atomic<std::uint64_t> failIn;  // 1: the next call fails, 2: the one after it; 0: none
    std::atomic<std::uint64_t> delayMicroseconds;
    std::atomic<std::uint64_t> throwKind;
    std::array<char, 232> failText;  // NUL-terminated; written before failIn is set
};

inline constexpr std::size_t kLongestFailText = std::tuple_size_v<decltype(Fault::failText)> - 1;

struct Ledger {
    std::array<char, 16> magic;
    std::atomic<std::uint64_t> generation;
    std::array<std::atomic<std::int64_t>, kCounterNames.size()> counters;
    std::array<std::atomic<std::uint64_t>, kEntryPointCount> calls;
    std::array<Fault, kEntryPointCount> faults;

    std::atomic<std::int64_t>& counter(Counter which) {
        return counters[static_cast<std::size_t>(which)];
    }
    Fault& fault(EntryPoint entryPoint) { return faults[indexOf(entryPoint)]; }
};

static_assert(std::atomic<std::uint64_t>::is_always_lock_free &&
                  std::atomic<std::int64_t>::is_always_lock_free,
              "a lock would be one process's own");

// All counters zero, no faults, a generation that no ledger had before.
void resetLedger(Ledger& ledger);

bool hasMagic(const Ledger& ledger);

// By a name of kCounterNames, or "calls." and the name of an entry point.
std::optional<std::int64_t> counterValue(const Ledger& ledger, std::string_view name);

// Lines "NAME VALUE": all counters, then the entry points that were called, in the order of their
// list.
std::string ledgerText(const Ledger& ledger);

// The k-th call from now fails with the text; 0 takes that back. False when the text is too long.
[[nodiscard]] bool requestFailure(Fault& fault, std::uint64_t k, std::string_view text);

// Counts one call down; the text when this is the call that has to fail.
std::optional<std::string> takeFailure(Fault& fault);

}  // namespace Orvanta_OvWallet::Sandbox
