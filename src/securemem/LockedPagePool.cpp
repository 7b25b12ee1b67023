#include "securemem/LockedPagePool.h"

#include "securemem/PoolTables.h"
#include "support/NeverDestroyed.h"
#include "support/OvWalletException.h"
#include "support/inSilence.h"
#include "wallet/ProcessLock.h"

namespace Orvanta_OvWallet {
namespace {

constexpr const char* kOverflow =
    "An attempt to allocate memory resulted in an overflow condition.";

PoolTables& tables() {
    static NeverDestroyed<PoolTables> instance;
    return *instance;
}

void checkSize(std::uint64_t size) {
    if (size > PoolTables::kLargestSize) {
        throw OvWalletException(kOverflow);
    }
}

}  // namespace

std::uint8_t* LockedPagePool::lockedAllocate(std::uint64_t size) {
    std::uint8_t* block = nullptr;
    try {
        const ProcessLockGuard lock;
        checkSize(size);
        block = reinterpret_cast<std::uint8_t*>(tables().allocate(size));
    } catch (...) {
        // There is a block only if giving the lock up is what failed; nobody else would release it.
        inSilence([&] { lockedRelease(block, size); });
        throw;
    }
    return block;
}

void LockedPagePool::lockedRelease(std::uint8_t* block, std::uint64_t size) {
    if (block == nullptr) {
        return;
    }
    giveBackUnderLock([&] {
        checkSize(size);
        tables().release(reinterpret_cast<std::uint64_t>(block), size);
    });
}

}  // namespace Orvanta_OvWallet
