// The control functions that the sandbox wallet's client library exports beside the 41 entry
// points.
//
// For tests: look them up with dlsym in a libovwallet.so that is loaded. They read and set the
// ledger: the file "ledger" of the wallet's directory when there is one, otherwise counters and
// faults that the loaded library keeps itself. Those, and the directory that
// OvWalletSandbox_setHome sets, are lost when the library is unloaded; whoever looks across an
// unloading uses the file.
//
// Any thread may call them at any time. ENTRY is the name of an entry point; where one is asked for
// and another name or null is given, the result is -1 and nothing changes.
#pragma once

#include <cstdint>

#include "wallet/WalletTypes.h"

namespace Orvanta_OvWallet {

extern "C" {

// Uses this directory instead of the one that the environment names, from the next call on; wallets
// made earlier keep theirs. Null goes back to the environment.
[[gnu::visibility("default")]] void OvWalletSandbox_setHome(const char* directory);

// A counter by its name in "ovwallet ledger show", "calls.ENTRY" included; -1 for an unknown name.
[[gnu::visibility("default")]] std::int64_t OvWalletSandbox_counter(const char* name);

// All counters to zero, no faults. What is live now is not counted any more, neither as live nor
// when it is freed; what is still live at the unloading counts as a leak all the same.
[[gnu::visibility("default")]] void OvWalletSandbox_resetLedger();

// The k-th call of ENTRY from now returns an error object with this text (231 bytes at most, else
// -1); 0 takes that back. Does nothing to an entry point that returns no error object.
[[gnu::visibility("default")]] std::int32_t OvWalletSandbox_failCall(const char* entry,
                                                                     std::uint64_t k,
                                                                     const char* text);

// Every call of ENTRY waits that long first; 0 takes that back.
[[gnu::visibility("default")]] std::int32_t OvWalletSandbox_delayCalls(const char* entry,
                                                                       std::uint64_t microseconds);

// Every call of ENTRY throws before it does anything: with 1 std::runtime_error("the client library
// threw"), with 2 an object of a class of its own that is no std::exception; 0 takes that back.
// Another kind gives -1.
[[gnu::visibility("default")]] std::int32_t OvWalletSandbox_throwFromCalls(const char* entry,
                                                                           std::uint32_t kind);

// What is in a name list, which no entry point tells. The text lives as long as the list; null for
// an index past the end or a list that is not live.
[[gnu::visibility("default")]] std::uint64_t OvWalletSandbox_nameCount(StringNames* names);
[[gnu::visibility("default")]] const char* OvWalletSandbox_nameAt(StringNames* names,
                                                                  std::uint64_t index);

}  // extern "C"

}  // namespace Orvanta_OvWallet
