// The built client library, loaded the way its users load it, with its functions looked up by name.
#pragma once

#include <dlfcn.h>

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

#include "sandbox/OvWalletSandbox.h"
#include "sandbox/library/EntryPoints.h"

namespace Orvanta_OvWallet::Sandbox {

class LoadedSandbox {
  public:
    explicit LoadedSandbox(const std::string& pathname)
        : pathname_(pathname), handle_(::dlopen(pathname.c_str(), RTLD_NOW)) {
        if (handle_ == nullptr) {
            throw std::runtime_error(::dlerror());
        }
#define WALLET_ENTRY(ordinal, discipline, result, name, parameters, arguments) find(#name, name);
#define WALLET_ENTRY_UNWRAPPED(ordinal, result, name, parameters) find(#name, name);
#include "wallet/EntryPoints.def"
        find("OvWalletSandbox_setHome", setHome);
        find("OvWalletSandbox_counter", counter);
        find("OvWalletSandbox_resetLedger", resetLedger);
        find("OvWalletSandbox_failCall", failCall);
        find("OvWalletSandbox_delayCalls", delayCalls);
        find("OvWalletSandbox_throwFromCalls", throwFromCalls);
        find("OvWalletSandbox_nameCount", nameCount);
        find("OvWalletSandbox_nameAt", nameAt);
    }
    LoadedSandbox(const LoadedSandbox&) = delete;
    LoadedSandbox& operator=(const LoadedSandbox&) = delete;
    ~LoadedSandbox() { unload(); }

    // Whether the library is gone afterwards.
    bool unload() {
        if (handle_ == nullptr) {
            return false;
        }
        ::dlclose(std::exchange(handle_, nullptr));
        void* const still = ::dlopen(pathname_.c_str(), RTLD_NOW | RTLD_NOLOAD);
        if (still != nullptr) {
            ::dlclose(still);
        }
        return still == nullptr;
    }

    // Null where the library lacks the entry point.
#define WALLET_ENTRY(ordinal, discipline, result, name, parameters, arguments) \
    decltype(&Orvanta_OvWallet::name) name = nullptr;
#define WALLET_ENTRY_UNWRAPPED(ordinal, result, name, parameters) \
    decltype(&Orvanta_OvWallet::name) name = nullptr;
#include "wallet/EntryPoints.def"

    decltype(&OvWalletSandbox_setHome) setHome = nullptr;
    decltype(&OvWalletSandbox_counter) counter = nullptr;
    decltype(&OvWalletSandbox_resetLedger) resetLedger = nullptr;
    decltype(&OvWalletSandbox_failCall) failCall = nullptr;
    decltype(&OvWalletSandbox_delayCalls) delayCalls = nullptr;
    decltype(&OvWalletSandbox_throwFromCalls) throwFromCalls = nullptr;
    decltype(&OvWalletSandbox_nameCount) nameCount = nullptr;
    decltype(&OvWalletSandbox_nameAt) nameAt = nullptr;

    // The description of the error, which is freed; "no error" for null.
    std::string taken(WalletError* error) const {
        if (error == nullptr) {
            return "no error";
        }
        std::string description = OvWallet_getErrorDescription(error);
        OvWallet_freeError(error);
        return description;
    }

    Wallet* newWallet() const {
        Wallet* wallet = nullptr;
        require(OvWalletFactory_generateOvWalletV1(&wallet));
        return wallet;
    }

    std::string value(Wallet* wallet, const char* name) const {
        LockedUTF8Vector* vector = nullptr;
        require(OvWallet_getStringValue(wallet, name, &vector));
        const auto* const bytes =
            reinterpret_cast<const char*>(OvWallet_getPtrLockedUTF8Vector(vector));
        const std::uint32_t size = OvWallet_getSizeLockedUTF8Vector(vector);
        std::string value = bytes == nullptr ? std::string() : std::string(bytes, size);
        OvWallet_freeLockedUTF8Vector(vector);
        return value;
    }

    LockedUTF8Vector* newVector(const std::string& text) const {
        LockedUTF8Vector* vector = nullptr;
        require(OvWallet_allocLockedUTF8Vector(&vector, static_cast<std::uint32_t>(text.size())));
        text.copy(reinterpret_cast<char*>(OvWallet_getPtrLockedUTF8Vector(vector)), text.size());
        return vector;
    }

  private:
    template <class Function>
    void find(const char* name, Function& function) {
        function = reinterpret_cast<Function>(::dlsym(handle_, name));
    }

    void require(WalletError* error) const {
        if (error != nullptr) {
            throw std::runtime_error(taken(error));
        }
    }

    std::string pathname_;
    void* handle_;
};

}  // namespace Orvanta_OvWallet::Sandbox
