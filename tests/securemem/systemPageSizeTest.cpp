#include "securemem/memoryLocking.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "doubles/ProcessLockDouble.h"
#include "doubles/SystemCalls.h"
#include "doubles/thrown.h"
#include "support/OvWalletException.h"

namespace Orvanta_OvWallet {
namespace {

constexpr const char* kFailed = "An attempt to determine the system page size failed.";

std::string failureOfPageSize() {
    return thrownBy<OvWalletException>(systemPageSize);
}

// Asked for the page size, the system answers this and sets errno, unless that is negative.
void answer(long size, int newErrno) {
    systemCalls().sysconf = [=](int name) {
        EXPECT_EQ(name, _SC_PAGESIZE);
        if (newErrno >= 0) {
            errno = newErrno;
        }
        return size;
    };
}

TEST(SystemPageSize, IsTheSystems) {
    EXPECT_EQ(systemPageSize(), real::sysconf(_SC_PAGESIZE));
}

TEST(SystemPageSize, IsAskedForOnce) {
    int asked = 0;
    systemCalls().sysconf = [&](int) {
        ++asked;
        return 16384L;
    };
    EXPECT_EQ(systemPageSize(), 16384);
    EXPECT_EQ(systemPageSize(), 16384);
    EXPECT_EQ(asked, 1);
}

TEST(SystemPageSize, ThatFailsSaysTheErrorThatTheSystemSet) {
    errno = 0;
    answer(-1, EINVAL);
    EXPECT_EQ(failureOfPageSize(),
              "An attempt to determine the system page size failed (errno = Invalid argument).");
}

TEST(SystemPageSize, ThatFailsWithoutAnErrorSaysNone) {
    errno = 0;
    answer(-1, -1);
    EXPECT_EQ(failureOfPageSize(), kFailed);
}

TEST(SystemPageSize, AnErrorThatWasThereBeforeIsNotItsOwn) {
    errno = ENOENT;
    answer(-1, -1);
    EXPECT_EQ(failureOfPageSize(), kFailed);
}

// Deliberate: errno is compared and not cleared first, so the same error again goes unnoticed.
TEST(SystemPageSize, TheErrorThatWasThereBeforeIsNotToldFromTheSameAgain) {
    errno = EINVAL;
    answer(-1, EINVAL);
    EXPECT_EQ(failureOfPageSize(), kFailed);
}

TEST(SystemPageSize, AnErrorThatReplacesAnotherIsSaid) {
    errno = ENOENT;
    answer(-1, EPERM);
    EXPECT_EQ(
        failureOfPageSize(),
        "An attempt to determine the system page size failed (errno = Operation not permitted).");
}

TEST(SystemPageSize, AnErrorThatTheSystemClearsIsSaidAsSuccess) {
    errno = ENOENT;
    answer(-1, 0);
    EXPECT_EQ(failureOfPageSize(),
              "An attempt to determine the system page size failed (errno = Success).");
}

TEST(SystemPageSize, SavesTheErrorBeforeLaterCallsChangeIt) {
    errno = 0;
    answer(-1, EINVAL);
    systemCalls().strerror_r = [](int errnum, char* buffer, std::size_t size) {
        errno = EIO;
        return real::strerror_r(errnum, buffer, size);
    };
    EXPECT_EQ(failureOfPageSize(),
              "An attempt to determine the system page size failed (errno = Invalid argument).");
}

TEST(SystemPageSize, AnAnswerWhoseLower32BitsAreMinusOneIsAFailure) {
    errno = 0;
    answer(0x1FFFFFFFF, -1);
    EXPECT_EQ(failureOfPageSize(), kFailed);
}

TEST(SystemPageSize, ErrnoAloneIsNoFailure) {
    errno = 0;
    answer(4096, EINVAL);
    EXPECT_EQ(systemPageSize(), 4096);
}

TEST(SystemPageSize, IsAskedForAgainAfterAFailure) {
    errno = 0;
    answer(-1, -1);
    EXPECT_EQ(failureOfPageSize(), kFailed);
    EXPECT_EQ(failureOfPageSize(), kFailed);
    answer(8192, -1);
    EXPECT_EQ(systemPageSize(), 8192);
}

TEST(SystemPageSize, TakesNoLock) {
    ProcessLockDouble lock;
    systemPageSize();
    EXPECT_EQ(lock.takeCalls(), ProcessLockDouble::Calls{});
}

}  // namespace
}  // namespace Orvanta_OvWallet
