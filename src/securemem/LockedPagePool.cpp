#include "securemem/LockedPagePool.h"

#include "securemem/PoolTables.h"
#include "support/NeverDestroyed.h"
#include "support/OvWalletException.h"
#include "wallet/ProcessLock.h"

namespace Orvanta_OvWallet {
namespace {

constexpr const char* kOverflow =
    "An attempt to allocate memory resulted in an overflow condition.";

PoolTables& tables() {
    static NeverDestroyed<PoolTables> instance;
    return *instance;
}

[[noreturn]] void throwOverflow() {
    throw OvWalletException(kOverflow);
}

void checkSize(std::uint64_t size) {
    if (size > PoolTables::kLargestSize) {
        throwOverflow();
    }
}

}  // namespace

std::uint8_t* LockedPagePool::lockedAllocate(std::uint64_t size) {
    const ProcessLockGuard lock;
    checkSize(size);
    return reinterpret_cast<std::uint8_t*>(tables().allocate(size));
}

void LockedPagePool::lockedRelease(std::uint8_t* block, std::uint64_t size) {
    if (block == nullptr) {
        return;
    }
    const ProcessLockGuard lock;
    checkSize(size);
    tables().release(reinterpret_cast<std::uint64_t>(block), size);
}

}  // namespace Orvanta_OvWallet
