// Pool memory that nobody owns is forbidden under the address sanitizer, so only its builds have
// this test.

#include <sanitizer/asan_interface.h>

#include <cstdint>

#include <gtest/gtest.h>

#include "securemem/LockedPagePool.h"

namespace Orvanta_OvWallet {
namespace {

bool isForbidden(const void* address) {
    return __asan_address_is_poisoned(address) == 1;
}

TEST(ForbiddenAccess, EndsWhereABlockBegins) {
    std::uint8_t* const block = LockedPagePool::lockedAllocate(21);
    EXPECT_FALSE(isForbidden(block));
    EXPECT_FALSE(isForbidden(block + 20));
    EXPECT_TRUE(isForbidden(block + 21));
    EXPECT_TRUE(isForbidden(block + 31));
    EXPECT_TRUE(isForbidden(block + 32));
    EXPECT_TRUE(isForbidden(block + 4095));
    LockedPagePool::lockedRelease(block, 21);
}

TEST(ForbiddenAccess, CoversAReleasedBlock) {
    std::uint8_t* const first = LockedPagePool::lockedAllocate(16);
    std::uint8_t* const second = LockedPagePool::lockedAllocate(21);
    EXPECT_FALSE(isForbidden(second + 20));
    LockedPagePool::lockedRelease(second, 21);
    EXPECT_TRUE(isForbidden(second));
    EXPECT_TRUE(isForbidden(second + 20));
    EXPECT_FALSE(isForbidden(first));
    LockedPagePool::lockedRelease(first, 16);
}

TEST(ForbiddenAccess, CoversAllOfARegionThatIsWhollyFree) {
    std::uint8_t* const point = LockedPagePool::lockedAllocate(0);
    EXPECT_TRUE(isForbidden(point));
    EXPECT_TRUE(isForbidden(point + 4095));
    LockedPagePool::lockedRelease(point, 0);
}

TEST(ForbiddenAccess, ReleasingZeroBytesForbidsNothing) {
    std::uint8_t* const first = LockedPagePool::lockedAllocate(16);
    std::uint8_t* const second = LockedPagePool::lockedAllocate(16);
    std::uint8_t* const point = LockedPagePool::lockedAllocate(0);
    ASSERT_EQ(point, second);
    LockedPagePool::lockedRelease(point, 0);
    EXPECT_FALSE(isForbidden(second));
    LockedPagePool::lockedRelease(second, 16);
    LockedPagePool::lockedRelease(first, 16);
}

TEST(ForbiddenAccessDeathTest, EndsTheProgramThatReadsAReleasedBlock) {
    std::uint8_t* const first = LockedPagePool::lockedAllocate(16);
    std::uint8_t* const second = LockedPagePool::lockedAllocate(16);
    LockedPagePool::lockedRelease(second, 16);
    EXPECT_DEATH(static_cast<void>(*const_cast<volatile std::uint8_t*>(second)),
                 "use-after-poison");
    LockedPagePool::lockedRelease(first, 16);
}

}  // namespace
}  // namespace Orvanta_OvWallet
