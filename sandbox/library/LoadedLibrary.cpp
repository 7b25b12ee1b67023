// What happens when the client library is loaded and unloaded, and the proof that it is complete.
#include <array>

#include "sandbox/library/Accounts.h"
#include "sandbox/library/EntryPoints.h"

namespace Orvanta_OvWallet {

namespace {

using AnyFunction = void (*)();

// Takes the address of every entry point, so that linking fails when one has no definition.
[[gnu::used]] const std::array<AnyFunction, Sandbox::kEntryPointCount> kEveryEntryPoint = {
#define WALLET_ENTRY(ordinal, discipline, result, name, parameters, arguments) \
    reinterpret_cast<AnyFunction>(&name),
#define WALLET_ENTRY_UNWRAPPED(ordinal, result, name, parameters) \
    reinterpret_cast<AnyFunction>(&name),
#include "wallet/EntryPoints.def"
};

[[gnu::constructor]] void noteLoading() {
    Sandbox::openBooks();
}

[[gnu::destructor]] void noteUnloading() {
    Sandbox::closeBooks();
}

}  // namespace

}  // namespace Orvanta_OvWallet
