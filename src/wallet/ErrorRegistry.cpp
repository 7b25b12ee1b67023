#include "wallet/ErrorRegistry.h"

#include <functional>
#include <memory>
#include <set>
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

const void* addressOf(const std::unique_ptr<LocalError>& error) {
    return error.get();
}
const void* addressOf(const WalletError* error) {
    return error;
}

// Orders by address, and finds a LocalError by the address that was handed out for it.
struct ByAddress {
    using is_transparent = void;
    template <typename Left, typename Right>
    bool operator()(const Left& left, const Right& right) const {
        return std::less<>()(addressOf(left), addressOf(right));
    }
};

using ErrorRegistry = std::set<std::unique_ptr<LocalError>, ByAddress>;

ErrorRegistry& registry() {
    static NeverDestroyed<ErrorRegistry> errors;
    return *errors;
}

WalletError* asWalletError(LocalError* error) {
    return reinterpret_cast<WalletError*>(error);
}

// Nothing is registered when it throws, be it because the lock could not be given up.
void registerError(std::unique_ptr<LocalError> error) {
    std::optional<ErrorRegistry::iterator> registered;
    try {
        const ProcessLockGuard lock;
        registered = registry().insert(std::move(error)).first;
    } catch (...) {
        if (registered) {
            giveBackUnderLock([&] { registry().erase(*registered); });
        }
        throw;
    }
}

}  // namespace

WalletError* outOfMemoryError() {
    static char object;
    return reinterpret_cast<WalletError*>(&object);
}

WalletError* errorFromException(const std::exception& exception, std::int32_t code) noexcept {
    try {
        auto error = std::make_unique<LocalError>(LocalError{code, exception.what()});
        LocalError* const made = error.get();
        registerError(std::move(error));
        return asWalletError(made);
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
    return LocalErrorContents{(*local)->code, (*local)->message.c_str()};
}

bool freeLocalError(WalletError* error) {
    if (error == outOfMemoryError()) {
        return true;
    }
    const auto local = registry().find(error);
    if (local == registry().end()) {
        return false;
    }
    registry().erase(local);
    return true;
}

}  // namespace Orvanta_OvWallet::PrivateStuff
