// Owners of what the wallet library hands out.
//
// An owner frees its object when it goes. Freeing may fail, and a destructor keeps that to itself;
// where the failure is to be reported, call free() first.
#pragma once

#include "wallet/WalletApi.h"

namespace Orvanta_OvWallet {

// A null object is freed like any other: its call succeeded, so a reference to the library came
// with it, which only the free function gives back.
template <typename Object, void (*Free)(Object*)>
class WalletOwner {
  public:
    explicit WalletOwner(Object* object) noexcept : object_(object) {}
    ~WalletOwner() {
        try {
            free();
        } catch (...) {
            return;
        }
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

// Throws OvWalletException with the error object's description in the place of the template's one
// "%s", and frees the error object, which is not null. If the client library throws in the place of
// describing it, its own message is all there is.
[[noreturn]] void throwWalletError(const char* messageTemplate, WalletError* error);

// The template of openWallet's failure.
inline constexpr const char* kCannotUseWallet = "Attempt to use Orvanta Wallet failed because: %s";

// Opens the wallet of the effective user, loading the client library when nothing keeps it loaded.
// The caller frees the wallet, best through an OwnedWallet; it may be null. Throws
// OvWalletException "Attempt to use Orvanta Wallet failed because: TEXT".
Wallet* openWallet();

}  // namespace Orvanta_OvWallet
