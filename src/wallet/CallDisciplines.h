// The eight ways in which an entry point of the wallet library is called.
//
// They keep the library's reference count in step with the objects that it hands out, take
// ProcessLock where the call or the count needs it, and turn exceptions into error objects where
// there is one to return. Entry is the member of the function table, say
// &WalletFunctionPointers_t::OvWallet_getStringValue.
//
// loadFirst, referenceAlways and referenceOnError never throw anything derived from std::exception:
// a failure of our own, or one that the library throws, is returned as an error object of our own
// (code 12 for NotInstalledException, 11 otherwise), which owns no reference. The others let such
// exceptions pass. An exception of any other type passes through all of them.
//
// Except for loadFirst, and the disciplines on error objects of our own, the caller holds an object
// of the library, which keeps it loaded.
#pragma once

#include <cstdint>
#include <exception>
#include <optional>
#include <utility>

#include "support/OvWalletException.h"
#include "support/inSilence.h"
#include "wallet/ErrorRegistry.h"
#include "wallet/ProcessLock.h"
#include "wallet/WalletFunctionPointers.h"

namespace Orvanta_OvWallet::PrivateStuff {

// Adds one reference to the library, loading it when it is the first. Adds none when it throws.
void addReference();

// Drops one reference, closing the library when it was the last. Throws OvWalletException
// "Cannot unload the "PATH" library because: TEXT", and what ProcessLock throws; the reference is
// dropped all the same unless the lock cannot be had at all.
void dropReference();

// A reference that belongs to the call until an object takes it over. Dropped otherwise, in
// silence: the failure that kept the object from being made is the one to report.
class CallReference {
  public:
    CallReference() = default;
    ~CallReference();
    CallReference(const CallReference&) = delete;
    CallReference& operator=(const CallReference&) = delete;

    void add();
    void handOver() noexcept { held_ = false; }

  private:
    bool held_ = false;
};

template <typename Call>
WalletError* reportingErrors(const Call& call) {
    try {
        return call();
    } catch (const NotInstalledException& exception) {
        return errorFromException(exception, kNotInstalledCode);
    } catch (const std::exception& exception) {
        return errorFromException(exception, kFailureCode);
    }
}

// Calls the entry point through the table with no lock, no reference and no exception handling.
template <auto Entry, typename... Arguments>
auto direct(Arguments... arguments) {
    return (walletFunctions().*Entry)(arguments...);
}

// Frees what the library put into the place, without dropping a reference: the object has none.
template <auto Free, typename Object>
void takeBackFrom(Object** place) {
    if (place != nullptr && *place != nullptr) {
        direct<Free>(std::exchange(*place, nullptr));
    }
}

// What an argument of an entry point handed out; most hand out nothing.
template <typename Argument>
void takeBackObject(Argument) {}
inline void takeBackObject(Wallet** wallet) {
    takeBackFrom<&WalletFunctionPointers_t::OvWallet_freeV1>(wallet);
}
inline void takeBackObject(LockedUTF8Vector** vector) {
    takeBackFrom<&WalletFunctionPointers_t::OvWallet_freeLockedUTF8Vector>(vector);
}
inline void takeBackObject(UTF8Vector** vector) {
    takeBackFrom<&WalletFunctionPointers_t::OvWallet_freeUTF8Vector>(vector);
}
inline void takeBackObject(StringNames** names) {
    takeBackFrom<&WalletFunctionPointers_t::OvWallet_freeStringNames>(names);
}

// For a call that succeeded in the library and failed with us afterwards: the caller gets our error
// object instead, and would never free what the library gave him.
template <typename... Arguments>
void takeBack(WalletError* error, Arguments... arguments) noexcept {
    inSilence([&] {
        if (error != nullptr) {
            direct<&WalletFunctionPointers_t::OvWallet_freeError>(error);
        } else {
            (takeBackObject(arguments), ...);
        }
    });
}

// Adds the reference of what the library handed out, which is freed when that fails.
template <typename... Arguments>
void addReferenceOrTakeBack(WalletError* error, Arguments... arguments) {
    try {
        addReference();
    } catch (...) {
        takeBack(error, arguments...);
        throw;
    }
}

// For calls that may come first in a process: loads the library, then calls it, all under the lock.
// The reference belongs to the object that the call hands out, be it an error object. The
// reference outlives the handlers: an exception of the library is code of the library.
template <auto Entry, typename... Arguments>
WalletError* loadFirst(Arguments... arguments) {
    CallReference reference;
    return reportingErrors([&] {
        WalletError* error = nullptr;
        bool returned = false;
        try {
            underLock([&] {
                reference.add();
                error = direct<Entry>(arguments...);
                returned = true;
            });
        } catch (...) {
            if (returned) {
                takeBack(error, arguments...);
            }
            throw;
        }
        reference.handOver();
        return error;
    });
}

// For calls that hand out an object: calls without the lock, then adds the reference of the output
// object or, on failure, of the error object.
template <auto Entry, typename... Arguments>
WalletError* referenceAlways(Arguments... arguments) {
    return reportingErrors([&] {
        WalletError* const error = direct<Entry>(arguments...);
        addReferenceOrTakeBack(error, arguments...);
        return error;
    });
}

// For calls that hand out nothing but an error object: calls without the lock, then adds a
// reference for the error object if there is one.
template <auto Entry, typename... Arguments>
WalletError* referenceOnError(Arguments... arguments) {
    return reportingErrors([&] {
        WalletError* const error = direct<Entry>(arguments...);
        if (error != nullptr) {
            addReferenceOrTakeBack(error);
        }
        return error;
    });
}

// Frees an object of the library, called without the lock, then drops the object's reference.
template <auto Entry, typename Object>
void release(Object* object) {
    direct<Entry>(object);
    dropReference();
}

// Frees an error object, ours or the library's, under the lock throughout.
template <auto Entry>
void freeError(WalletError* error) {
    giveBackUnderLock([&] {
        if (!freeLocalError(error)) {
            direct<Entry>(error);
            dropReference();
        }
    });
}

// Reads an error object, ours or the library's, under the lock throughout.
template <auto Entry>
auto errorAccessor(WalletError* error) {
    decltype(direct<Entry>(error)) result{};
    underLock([&] {
        const std::optional<LocalErrorContents> local = localErrorContents(error);
        result = local ? std::get<decltype(result)>(*local) : direct<Entry>(error);
    });
    return result;
}

// Deliberate: asks the library under the lock without looking whether the error object is one of
// our own, which the library then is asked about too.
template <auto Entry>
auto plainUnderLock(WalletError* error) {
    decltype(direct<Entry>(error)) result{};
    underLock([&] { result = direct<Entry>(error); });
    return result;
}

}  // namespace Orvanta_OvWallet::PrivateStuff
