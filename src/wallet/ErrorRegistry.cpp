#include "wallet/ErrorRegistry.h"

#include <map>
#include <memory>
#include <string>
#include <utility>

#include "support/NeverDestroyed.h"
#include "wallet/ProcessLock.h"

namespace Orvanta_OvWallet::PrivateStuff {
namespace {

constexpr const char* kOutOfMemory = "An out of memory condition exists.";

struct LocalError {
    std::int32_t code;
    std::string message;
};

// By the address that was handed out for the error, which is the LocalError's.
using ErrorRegistry = std::map<const WalletError*, std::unique_ptr<LocalError>>;

ErrorRegistry& registry() {
    static NeverDestroyed<ErrorRegistry> errors;
    return *errors;
}

}  // namespace

WalletError* outOfMemoryError() {
    static char object;
    return reinterpret_cast<WalletError*>(&object);
}

WalletError* errorFromException(const std::exception& exception, std::int32_t code) noexcept {
    try {
        auto error = std::make_unique<LocalError>(LocalError{code, exception.what()});
        auto* const address = reinterpret_cast<WalletError*>(error.get());
        const ProcessLockGuard lock;
        registry().emplace(address, std::move(error));
        return address;
    } catch (const std::exception&) {
        return outOfMemoryError();
    }
}

std::optional<LocalErrorContents> localErrorContents(WalletError* error) {
    if (error == outOfMemoryError()) {
        return LocalErrorContents{kFailureCode, kOutOfMemory};
    }
    const auto local = registry().find(error);
    if (local == registry().end()) {
        return std::nullopt;
    }
    return LocalErrorContents{local->second->code, local->second->message.c_str()};
}

bool freeLocalError(WalletError* error) {
    return error == outOfMemoryError() || registry().erase(error) != 0;
}

}  // namespace Orvanta_OvWallet::PrivateStuff
