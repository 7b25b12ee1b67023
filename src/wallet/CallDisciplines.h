// The eight ways in which an entry point of the wallet library is called.
//
// They keep the library's use count in step with the objects that it hands out, take ProcessLock
// where the call or the count needs it, and turn exceptions into error objects where there is one
// to return. Entry is the member of the function table, such as
// &WalletFunctionPointers_t::OvWallet_getStringValue.
//
// loadFirst, retainAlways and retainOnError never throw anything derived from std::exception: a
// failure of our own, or one that the library throws, is returned as an error object of our own
// (code 12 for NotInstalledException, 11 otherwise), which owns no use of the library. The others
// let such exceptions pass. An exception of any other type passes through all of them.
//
// Except for loadFirst, and the disciplines on error objects of our own, the caller holds an object
// of the library, which keeps it loaded.
#pragma once

#include <cstdint>
#include <exception>
#include <optional>
#include <tuple>

#include "support/OvWalletException.h"
#include "support/inSilence.h"
#include "wallet/ErrorRegistry.h"
#include "wallet/ProcessLock.h"
#include "wallet/WalletFunctionPointers.h"

namespace Orvanta_OvWallet::PrivateStuff {

// Adds one use of the library under the lock, loading it when it is the first.
inline void retainLibrary() {
    const ProcessLockGuard lock;
    walletFunctions().load();
}

// Drops one use under the lock, closing the library when it was the last. The use is dropped even
// when closing fails and throws; it stays when the lock cannot be had.
inline void releaseLibrary() {
    const ProcessLockGuard lock;
    walletFunctions().release();
}

// What the call returns, or an error object for what it throws.
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

// Calls the entry point through the table with no lock, no counting and no exception handling.
template <auto Entry, typename... Arguments>
auto direct(Arguments... arguments) {
    return (walletFunctions().*Entry)(arguments...);
}

// For calls that may come first in a process: loads the library, then calls it, all under the lock.
// The use belongs to the object that the call hands out, be it an error object.
template <auto Entry, typename... Arguments>
WalletError* loadFirst(Arguments... arguments) {
    bool ownsUse = false;
    WalletError* const error = reportingErrors([&] {
        const ProcessLockGuard lock;
        walletFunctions().load();
        ownsUse = true;
        WalletError* const result = direct<Entry>(arguments...);
        ownsUse = false;
        return result;
    });
    // Only now: the library's own exception is code of the library until the handlers have done
    // with it. One that they let pass leaves with the library still open.
    if (ownsUse) {
        inSilence(releaseLibrary);
    }
    return error;
}

// For calls that hand out an object: calls without the lock, then adds the use of the output object
// or, on failure, of the error object.
template <auto Entry, typename... Arguments>
WalletError* retainAlways(Arguments... arguments) {
    return reportingErrors([&] {
        WalletError* const error = direct<Entry>(arguments...);
        retainLibrary();
        return error;
    });
}

// For calls that hand out nothing but an error object: calls without the lock, then adds a use for
// the error object if there is one.
template <auto Entry, typename... Arguments>
WalletError* retainOnError(Arguments... arguments) {
    return reportingErrors([&] {
        WalletError* const error = direct<Entry>(arguments...);
        if (error != nullptr) {
            retainLibrary();
        }
        return error;
    });
}

// Frees an object of the library, called without the lock, then drops the object's use.
template <auto Entry, typename Object>
void release(Object* object) {
    direct<Entry>(object);
    releaseLibrary();
}

// Frees an error object, ours or the library's, under the lock throughout.
template <auto Entry>
void freeError(WalletError* error) {
    const ProcessLockGuard lock;
    if (!freeLocalError(error)) {
        direct<Entry>(error);
        walletFunctions().release();
    }
}

// Reads an error object, ours or the library's, under the lock throughout.
template <auto Entry>
auto errorAccessor(WalletError* error) {
    const ProcessLockGuard lock;
    using Result = decltype(direct<Entry>(error));
    const std::optional<LocalErrorContents> local = localErrorContents(error);
    return local ? std::get<Result>(*local) : direct<Entry>(error);
}

// Deliberate: asks the library under the lock without looking whether the error object is one of
// our own, which the library then is asked about too.
template <auto Entry>
auto plainUnderLock(WalletError* error) {
    const ProcessLockGuard lock;
    return direct<Entry>(error);
}

}  // namespace Orvanta_OvWallet::PrivateStuff
