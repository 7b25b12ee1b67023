// What callers of the wrappers need: owners of what the wallet library hands out, and its failures
// as exceptions of ours.
//
// An owner frees its object when it goes. Freeing may fail, and a destructor keeps that to itself;
// where the failure is to be reported, call free() first.
#pragma once

#include <exception>

#include "support/OvWalletException.h"
#include "support/inSilence.h"
#include "wallet/WalletApi.h"

namespace Orvanta_OvWallet {

// A null object is freed like any other: its call succeeded, so a use of the library came with
// it, which only the free function gives back.
template <typename Object, void (*Free)(Object*)>
class WalletOwner {
  public:
    explicit WalletOwner(Object* object) noexcept : object_(object) {}
    ~WalletOwner() {
        inSilence([this] { free(); });
    }
    WalletOwner(const WalletOwner&) = delete;
    WalletOwner& operator=(const WalletOwner&) = delete;

    Object* get() const noexcept { return object_; }

    // Frees the object now; whatever its free function throws leaves. Once only.
    void free() {
        if (owned_) {
            owned_ = false;
            Free(object_);
        }
    }

  private:
    Object* object_;
    bool owned_ = true;
};

using OwnedWallet = WalletOwner<Wallet, OvWallet_freeV1>;
using OwnedLockedUTF8Vector = WalletOwner<LockedUTF8Vector, OvWallet_freeLockedUTF8Vector>;
using OwnedWalletError = WalletOwner<WalletError, OvWallet_freeError>;

// Runs call, which calls the client library. The class of an exception that it throws may be the
// client library's own, with its code, and what is freed while the exception is on its way may
// close the library. So an OvWalletException with the same message leaves in its place. Anything
// that is no std::exception passes.
template <typename Call>
auto copyingExceptions(const Call& call) {
    try {
        return call();
    } catch (const std::exception& exception) {
        throw OvWalletException(exception.what());
    }
}

// Throws OvWalletException with the error object's description in the place of the template's one
// "%s", or the formatter's exception when the description is not UTF-8. If the client library
// throws in the place of describing it, its own message is all there is. The error object, which is
// not null, is freed in any case.
[[noreturn]] void throwWalletError(const char* messageTemplate, WalletError* error);

// The template of openWallet's failure.
inline constexpr const char* kCannotUseWallet = "Attempt to use Orvanta Wallet failed because: %s";

// Opens the wallet of the effective user, loading the client library when nothing keeps it loaded.
// The caller frees the wallet, best through an OwnedWallet; it may be null. Throws as
// throwWalletError does, with the template above.
Wallet* openWallet();

}  // namespace Orvanta_OvWallet
