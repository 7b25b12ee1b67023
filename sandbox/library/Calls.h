// The frame around every entry point: counting, waiting and failing as the ledger says, and the way
// from a Failure to an error object.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "sandbox/library/Accounts.h"
#include "sandbox/library/Handles.h"

namespace Orvanta_OvWallet::Sandbox {

// Counts the call, then waits and throws if it was told to. The text with which the call has to
// fail, if it has to; an entry point that returns no error object ignores it.
//
// Whatever leaves here leaves the entry point too: that is how a client library that throws is
// tried out.
std::optional<std::string> enterCall(EntryPoint entryPoint);

WalletError* errorFrom(const Failure& failure);

// An entry point that returns an error object: null when the body returns. The body does the whole
// work.
template <class Body>
WalletError* reportedCall(EntryPoint entryPoint, const Body& body) {
    const std::optional<std::string> requestedFailure = enterCall(entryPoint);
    try {
        if (requestedFailure) {
            throw Failure(FailureCode::requested, *requestedFailure);
        }
        body(nameOf(entryPoint));
        return nullptr;
    } catch (const Failure& failure) {
        return errorFrom(failure);
    } catch (const std::exception& exception) {
        return errorFrom(Failure(FailureCode::other, exception.what()));
    }
}

// Throws Failure when it is null.
std::string requiredName(const char* name);

template <class Output>
void requireOutput(const Output* output) {
    if (output == nullptr) {
        throw Failure(FailureCode::badArgument, "There is no place for the result: it is null.");
    }
}

// Arguments that the list of entry points only numbers; see EntryPoints.h.
const char* textArgument(OpaqueArgument* argument);
LockedUTF8Vector* vectorArgument(OpaqueArgument* argument);
void storeFlag(OpaqueArgument* argument, bool value);  // throws Failure on null

std::string textOf(const ByteVector& bytes);

}  // namespace Orvanta_OvWallet::Sandbox
