// Error objects of our own making, which callers cannot tell from the wallet library's.
//
// A wrapper that fails before or after the library's own call has to return an error object. It
// makes a LocalError, remembers its address here and hands the address out as a WalletError. A
// pointer in the registry is a LocalError, outOfMemoryError() is neither, any other is the
// library's.
//
// The registry owns its LocalErrors. It is made on first use and never destroyed. The functions
// that say so want the caller to hold ProcessLock, which guards the registry.
#pragma once

#include <cstdint>
#include <exception>
#include <optional>
#include <tuple>

#include "wallet/WalletTypes.h"

namespace Orvanta_OvWallet::PrivateStuff {

// Codes of our own error objects.
inline constexpr std::int32_t kFailureCode = 11;
inline constexpr std::int32_t kNotInstalledCode = 12;

// Stands for an error object that could not be made: code 11, "An out of memory condition exists.".
// Only its address matters; it is never freed.
WalletError* outOfMemoryError();

// An error object that says what the exception says, or outOfMemoryError() when none can be made.
// Takes ProcessLock itself. The caller frees the object with OvWallet_freeError.
WalletError* errorFromException(const std::exception& exception, std::int32_t code) noexcept;

// Code and description of one of our own error objects or of outOfMemoryError(); nothing for the
// library's. The description lives as long as the error object. The caller holds ProcessLock.
using LocalErrorContents = std::tuple<std::int32_t, const char*>;
std::optional<LocalErrorContents> localErrorContents(WalletError* error);

// Frees one of our own error objects; does nothing for outOfMemoryError(). Returns whether it was
// either of them. The caller holds ProcessLock.
bool freeLocalError(WalletError* error);

}  // namespace Orvanta_OvWallet::PrivateStuff
