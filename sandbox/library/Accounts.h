// The process's books: which handles are live, what the ledger says, which directory is in use.
//
// A handle is a number that looks like an aligned address, is never used twice in one process, not
// even after the library was unloaded and loaded again, and points to nothing. So a handle that was
// freed twice, or is left from an earlier load, is always recognised, and whoever follows one as a
// pointer crashes at once.
//
// One mutex guards everything here; no function calls out while holding it. The books are made on
// first use and live on the heap. They go when the library is unloaded with no handle live. Should
// handles be live then, they stay: that is a leak, or the end of a process whose other threads may
// still be inside a call.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "sandbox/ledger/Ledger.h"

namespace Orvanta_OvWallet::Sandbox {

// In the order of the live counters.
enum class HandleKind : std::size_t { wallet, lockedVector, vector, nameList, error };

// What a call was told to do instead of, or before, its work.
struct CallPlan {
    std::uint64_t delayMicroseconds = 0;
    ThrowKind throwKind = ThrowKind::nothing;
    std::optional<std::string> failure;
};

// Counts the call.
CallPlan planCall(EntryPoint entryPoint);

// The new handle keeps the object alive. Never zero.
std::uint64_t addHandle(HandleKind kind, std::shared_ptr<void> object);

// Null, and a line on standard error, when no such handle of that kind is live.
std::shared_ptr<void> findHandle(HandleKind kind, std::uint64_t handle, std::string_view user);

// The handle is not live any more; a line on standard error when it was not before.
void removeHandle(HandleKind kind, std::uint64_t handle, std::string_view user);

// Throws Failure when no directory was set and the environment names none.
std::string currentDirectory();
void setDirectory(std::optional<std::string> directory);

// Looks again whether the directory has a ledger file. Otherwise that is done at loading, at
// setDirectory, and at no other time.
void chooseLedger();

std::optional<std::int64_t> readCounter(std::string_view name);
void resetCurrentLedger();
[[nodiscard]] bool failCall(EntryPoint entryPoint, std::uint64_t k, std::string_view text);
void delayCalls(EntryPoint entryPoint, std::uint64_t microseconds);
void throwFromCalls(EntryPoint entryPoint, ThrowKind kind);

// Called once each by the loaded library's initialiser and finaliser.
void openBooks();
void closeBooks();

}  // namespace Orvanta_OvWallet::Sandbox
