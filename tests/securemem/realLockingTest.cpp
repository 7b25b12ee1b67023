// Locking as the kernel does it: in builds without sanitizers only, which take mlock away. It needs
// a machine on which a process may lock 64 KiB.

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "doubles/ChildProcess.h"
#include "doubles/ProcessMemory.h"
#include "securemem/LockedPagePool.h"
#include "securemem/SecureByteVector.h"
#include "securemem/memoryLocking.h"

namespace Orvanta_OvWallet {
namespace {

constexpr std::size_t kPage = 4096;
constexpr uid_t kNobody = 65534;

bool isLocked(const void* pointer) {
    const auto address = reinterpret_cast<std::uint64_t>(pointer);
    const std::vector<MappedRange> memory = processMemory();
    return std::any_of(memory.begin(), memory.end(), [address](const MappedRange& mapped) {
        return mapped.isLocked && mapped.range.contains(address);
    });
}

std::string limitsAndUser() {
    rlimit limits{};
    ::getrlimit(RLIMIT_MEMLOCK, &limits);
    return std::to_string(limits.rlim_cur) + "/" + std::to_string(limits.rlim_max) + " as " +
           std::to_string(::geteuid());
}

// Locks two pages and says whether that was granted, how much is locked, and what is left behind.
std::string lockTwoPages() {
    alignas(kPage) static unsigned char memory[2 * kPage];
    const bool locked = lockMemory(memory, sizeof memory);
    const std::string text = std::string(locked ? "locked " : "refused ") +
                             std::to_string(lockedKilobytes()) + " kB, " + limitsAndUser();
    if (locked) {
        unlockMemory(memory, sizeof memory);
    }
    return text + ", then " + std::to_string(lockedKilobytes()) + " kB";
}

bool setLimits(rlim_t soft, rlim_t hard) {
    const rlimit limits{soft, hard};
    return ::setrlimit(RLIMIT_MEMLOCK, &limits) == 0;
}

TEST(RealLocking, LocksWholePagesAndUnlocksThemAgain) {
    alignas(kPage) static unsigned char memory[2 * kPage];
    const long before = lockedKilobytes();
    ASSERT_TRUE(lockMemory(memory, sizeof memory));
    EXPECT_EQ(lockedKilobytes(), before + 8);
    EXPECT_TRUE(isLocked(memory));
    EXPECT_TRUE(isLocked(memory + sizeof memory - 1));
    unlockMemory(memory, sizeof memory);
    EXPECT_EQ(lockedKilobytes(), before);
    EXPECT_FALSE(isLocked(memory));
}

TEST(RealLocking, PoolBlocksLieInLockedPages) {
    const long before = lockedKilobytes();
    std::uint8_t* const block = LockedPagePool::lockedAllocate(3 * kPage);
    EXPECT_TRUE(isLocked(block));
    EXPECT_TRUE(isLocked(block + 3 * kPage - 1));
    EXPECT_GE(lockedKilobytes(), before + 16);
    LockedPagePool::lockedRelease(block, 3 * kPage);
    EXPECT_EQ(lockedKilobytes(), before);
}

TEST(RealLocking, VectorsLieInLockedPagesAlsoAfterTheyGrew) {
    const long before = lockedKilobytes();
    {
        const std::string text(5000, 'x');
        const auto* const first = reinterpret_cast<const std::uint8_t*>(text.data());
        SecureByteVector vector(5);
        EXPECT_TRUE(isLocked(vector.begin()));
        vector.insert(vector.end(), first, first + text.size());
        EXPECT_TRUE(isLocked(vector.begin()));
        EXPECT_TRUE(isLocked(vector.end() - 1));
    }
    EXPECT_EQ(lockedKilobytes(), before);
}

TEST(RealLocking, OfAnUnprivilegedProcessRaisesTheSoftLimit) {
    EXPECT_EQ(inChildProcess([] {
                  if (!setLimits(0, 16 * kPage) ||
                      (::getuid() == 0 && ::setresuid(kNobody, kNobody, kNobody) != 0)) {
                      return std::string("cannot give privileges up");
                  }
                  const std::string user = std::to_string(::geteuid());
                  const std::string text = lockTwoPages();
                  const std::string expected = "locked 8 kB, 0/65536 as " + user + ", then 0 kB";
                  return text == expected ? std::string("as expected") : text;
              }),
              "as expected");
}

TEST(RealLocking, OfAnUnprivilegedProcessIsRefusedBeyondTheHardLimit) {
    EXPECT_EQ(inChildProcess([] {
                  if (!setLimits(0, kPage) ||
                      (::getuid() == 0 && ::setresuid(kNobody, kNobody, kNobody) != 0)) {
                      return std::string("cannot give privileges up");
                  }
                  const std::string user = std::to_string(::geteuid());
                  const std::string text = lockTwoPages();
                  const std::string expected = "refused 0 kB, 0/4096 as " + user + ", then 0 kB";
                  return text == expected ? std::string("as expected") : text;
              }),
              "as expected");
}

TEST(RealLocking, OfAProcessThatGaveRootUpForNowRegainsIt) {
    if (::getuid() != 0) {
        GTEST_SKIP() << "only a process whose real user is root can regain root";
    }
    EXPECT_EQ(inChildProcess([] {
                  if (!setLimits(0, 0) || ::setresuid(0, kNobody, 0) != 0) {
                      return std::string("cannot give privileges up");
                  }
                  return lockTwoPages();
              }),
              "locked 8 kB, 0/0 as 65534, then 0 kB");
}

TEST(RealLocking, ThatIsRefusedLeavesThePoolUsable) {
    EXPECT_EQ(inChildProcess([] {
                  if (!setLimits(0, 0) ||
                      (::getuid() == 0 && ::setresuid(kNobody, kNobody, kNobody) != 0)) {
                      return std::string("cannot give privileges up");
                  }
                  SecureByteVector vector(100);
                  vector.begin()[99] = 7;
                  return std::to_string(vector[99]) + " in memory that is " +
                         (isLocked(vector.begin()) ? "locked" : "not locked");
              }),
              "7 in memory that is not locked");
}

}  // namespace
}  // namespace Orvanta_OvWallet
