// The opaque handles of the client library, each with the object behind it and its kind.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "sandbox/library/Accounts.h"
#include "sandbox/library/WalletObject.h"
#include "sandbox/store/Failure.h"
#include "wallet/WalletTypes.h"

namespace Orvanta_OvWallet::Sandbox {

struct ErrorObject {
    FailureCode code;
    std::string description;
    std::string stringName;
};

using ByteVector = std::vector<std::uint8_t>;
using NameList = std::vector<std::string>;

template <class Handle>
struct HandleTraits;

template <>
struct HandleTraits<Wallet> {
    using Object = WalletObject;
    static constexpr HandleKind kKind = HandleKind::wallet;
    static constexpr const char* kNullMessage = "The wallet is null.";
    static constexpr const char* kDeadMessage = "The wallet is not a live one.";
};

template <>
struct HandleTraits<LockedUTF8Vector> {
    using Object = ByteVector;
    static constexpr HandleKind kKind = HandleKind::lockedVector;
    static constexpr const char* kNullMessage = "The locked vector is null.";
    static constexpr const char* kDeadMessage = "The locked vector is not a live one.";
};

template <>
struct HandleTraits<UTF8Vector> {
    using Object = ByteVector;
    static constexpr HandleKind kKind = HandleKind::vector;
    static constexpr const char* kNullMessage = "The vector is null.";
    static constexpr const char* kDeadMessage = "The vector is not a live one.";
};

template <>
struct HandleTraits<StringNames> {
    using Object = NameList;
    static constexpr HandleKind kKind = HandleKind::nameList;
};

template <>
struct HandleTraits<WalletError> {
    using Object = ErrorObject;
    static constexpr HandleKind kKind = HandleKind::error;
};

template <class Handle>
using ObjectOf = typename HandleTraits<Handle>::Object;

// Makes the object from the arguments and a handle for it.
template <class Handle, class... Arguments>
Handle* handOut(Arguments&&... arguments) {
    const std::uint64_t number =
        addHandle(HandleTraits<Handle>::kKind,
                  std::make_shared<ObjectOf<Handle>>(std::forward<Arguments>(arguments)...));
    return reinterpret_cast<Handle*>(number);
}

// Null for null, and for a handle that is not live (which is counted and reported).
template <class Handle>
std::shared_ptr<ObjectOf<Handle>> lookUp(Handle* handle, std::string_view user) {
    if (handle == nullptr) {
        return nullptr;
    }
    return std::static_pointer_cast<ObjectOf<Handle>>(
        findHandle(HandleTraits<Handle>::kKind, reinterpret_cast<std::uint64_t>(handle), user));
}

// Throws Failure where lookUp gives null.
template <class Handle>
std::shared_ptr<ObjectOf<Handle>> require(Handle* handle, std::string_view user) {
    if (handle == nullptr) {
        throw Failure(FailureCode::badArgument, HandleTraits<Handle>::kNullMessage);
    }
    auto object = lookUp(handle, user);
    if (object == nullptr) {
        throw Failure(FailureCode::badArgument, HandleTraits<Handle>::kDeadMessage);
    }
    return object;
}

// Does nothing for null.
template <class Handle>
void giveBack(Handle* handle, std::string_view user) {
    if (handle != nullptr) {
        removeHandle(HandleTraits<Handle>::kKind, reinterpret_cast<std::uint64_t>(handle), user);
    }
}

}  // namespace Orvanta_OvWallet::Sandbox
