// The entry points that answer about an object that was handed out, or take it back.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "sandbox/library/Calls.h"
#include "sandbox/library/EntryPoints.h"
#include "sandbox/library/Handles.h"

namespace Orvanta_OvWallet {

using namespace Sandbox;

namespace {

constexpr std::uint32_t kLargestVector = 64U * 1024U * 1024U;

// Null and 0 for no vector and for an empty one.
template <class Handle>
std::uint8_t* bytesOf(Handle* handle, EntryPoint user) {
    enterCall(user);
    const auto vector = lookUp(handle, nameOf(user));
    return vector == nullptr || vector->empty() ? nullptr : vector->data();
}

template <class Handle>
std::uint32_t sizeOf(Handle* handle, EntryPoint user) {
    enterCall(user);
    const auto vector = lookUp(handle, nameOf(user));
    return vector == nullptr ? 0 : static_cast<std::uint32_t>(vector->size());
}

template <class Handle>
void freeHandle(Handle* handle, EntryPoint user) {
    enterCall(user);
    giveBack(handle, nameOf(user));
}

}  // namespace

const char* OvWallet_getErrorDescription(WalletError* error) {
    enterCall(EntryPoint::OvWallet_getErrorDescription);
    const auto object = lookUp(error, nameOf(EntryPoint::OvWallet_getErrorDescription));
    return object == nullptr ? nullptr : object->description.c_str();
}

std::int32_t OvWallet_getErrorCode(WalletError* error) {
    enterCall(EntryPoint::OvWallet_getErrorCode);
    const auto object = lookUp(error, nameOf(EntryPoint::OvWallet_getErrorCode));
    return object == nullptr ? 0 : static_cast<std::int32_t>(object->code);
}

const char* OvWallet_getStringName(WalletError* error) {
    enterCall(EntryPoint::OvWallet_getStringName);
    const auto object = lookUp(error, nameOf(EntryPoint::OvWallet_getStringName));
    return object == nullptr || object->stringName.empty() ? nullptr : object->stringName.c_str();
}

void OvWallet_freeError(WalletError* error) {
    freeHandle(error, EntryPoint::OvWallet_freeError);
}

WalletError* OvWallet_allocLockedUTF8Vector(LockedUTF8Vector** vector, std::uint32_t size) {
    return reportedCall(EntryPoint::OvWallet_allocLockedUTF8Vector, [&](std::string_view) {
        requireOutput(vector);
        if (size > kLargestVector) {
            throw Failure(FailureCode::badArgument, "A vector of " + std::to_string(size) +
                                                        " bytes is larger than " +
                                                        std::to_string(kLargestVector) + " bytes.");
        }
        *vector = handOut<LockedUTF8Vector>(size);
    });
}

std::uint8_t* OvWallet_getPtrLockedUTF8Vector(LockedUTF8Vector* vector) {
    return bytesOf(vector, EntryPoint::OvWallet_getPtrLockedUTF8Vector);
}

std::uint32_t OvWallet_getSizeLockedUTF8Vector(LockedUTF8Vector* vector) {
    return sizeOf(vector, EntryPoint::OvWallet_getSizeLockedUTF8Vector);
}

void OvWallet_freeLockedUTF8Vector(LockedUTF8Vector* vector) {
    freeHandle(vector, EntryPoint::OvWallet_freeLockedUTF8Vector);
}

void OvWallet_freeStringNames(StringNames* names) {
    freeHandle(names, EntryPoint::OvWallet_freeStringNames);
}

std::uint8_t* OvWallet_getPtrUTF8Vector(UTF8Vector* vector) {
    return bytesOf(vector, EntryPoint::OvWallet_getPtrUTF8Vector);
}

std::uint32_t OvWallet_getSizeUTF8Vector(UTF8Vector* vector) {
    return sizeOf(vector, EntryPoint::OvWallet_getSizeUTF8Vector);
}

void OvWallet_freeUTF8Vector(UTF8Vector* vector) {
    freeHandle(vector, EntryPoint::OvWallet_freeUTF8Vector);
}

}  // namespace Orvanta_OvWallet
