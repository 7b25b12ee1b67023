#include "support/formatMessage.h"

#include <cerrno>
#include <cstring>
#include <new>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "doubles/FailingHeap.h"
#include "doubles/SystemCalls.h"

namespace Orvanta_OvWallet {
namespace {

// A system whose text for every error is this one, cut to the buffer as the C library does.
class SystemWithText {
  public:
    explicit SystemWithText(const std::string& text) {
        systemCalls().strerror_r = [this, text](int errnum, char* buffer, std::size_t size) {
            errnums.push_back(errnum);
            sizes.push_back(size);
            const std::size_t length = std::min(text.size(), size - 1);
            std::memcpy(buffer, text.data(), length);
            buffer[length] = '\0';
            return buffer;
        };
    }
    ~SystemWithText() { systemCalls().strerror_r = nullptr; }
    SystemWithText(const SystemWithText&) = delete;
    SystemWithText& operator=(const SystemWithText&) = delete;

    std::vector<int> errnums;
    std::vector<std::size_t> sizes;
};

using Sizes = std::vector<std::size_t>;

TEST(ErrnoText, IsTheSystemsText) {
    EXPECT_EQ(errnoText(ENOENT), "No such file or directory");
    EXPECT_EQ(errnoText(EACCES), "Permission denied");
    EXPECT_EQ(errnoText(0), "Success");
}

TEST(ErrnoText, OfAnUnknownNumberNamesTheNumber) {
    EXPECT_EQ(errnoText(123456), "Unknown error 123456");
    EXPECT_EQ(errnoText(-1), "Unknown error -1");
}

TEST(ErrnoText, AsksForTheNumberItWasGivenAndNotForErrno) {
    SystemWithText system("text");
    errno = EPERM;
    EXPECT_EQ(errnoText(EIO), "text");
    EXPECT_EQ(system.errnums, std::vector<int>{EIO});
}

TEST(ErrnoText, ThatFitsWithRoomToSpareIsAskedForOnce) {
    const std::string text(998, 'x');
    SystemWithText system(text);
    EXPECT_EQ(errnoText(EIO), text);
    EXPECT_EQ(system.sizes, Sizes{1000});
}

TEST(ErrnoText, ThatFillsTheBufferIsFetchedAgainIntoALargerOne) {
    const std::string text(999, 'x');
    SystemWithText system(text);
    EXPECT_EQ(errnoText(EIO), text);
    EXPECT_EQ(system.sizes, (Sizes{1000, 2000}));
    EXPECT_EQ(system.errnums, (std::vector<int>{EIO, EIO}));
}

TEST(ErrnoText, ThatIsLongerThanSeveralBuffersIsReturnedWhole) {
    const std::string text = std::string(1500, 'x') + std::string(1500, 'y');
    SystemWithText system(text);
    EXPECT_EQ(errnoText(EIO), text);
    EXPECT_EQ(system.sizes, (Sizes{1000, 2000, 3000, 4000}));
}

TEST(ErrnoText, ThatIsStaticIsTakenWhateverItsLength) {
    static const std::string text(999, 's');
    int calls = 0;
    systemCalls().strerror_r = [&calls](int, char*, std::size_t) {
        ++calls;
        return const_cast<char*>(text.c_str());
    };
    EXPECT_EQ(errnoText(EIO), text);
    EXPECT_EQ(calls, 1);
}

TEST(ErrnoText, ThatIsEmptyIsEmpty) {
    SystemWithText system("");
    EXPECT_EQ(errnoText(EIO), "");
}

TEST(ErrnoText, StartsWithABufferOfZeroBytes) {
    bool zero = true;
    systemCalls().strerror_r = [&zero](int, char* buffer, std::size_t size) {
        zero = std::string(buffer, size) == std::string(size, '\0');
        return buffer;
    };
    EXPECT_EQ(errnoText(EIO), "");
    EXPECT_TRUE(zero);
}

TEST(ErrnoText, WithoutMemoryFailsAndLeaksNothing) {
    SystemWithText system(std::string(1500, 'x'));
    system.sizes.reserve(1000);
    system.errnums.reserve(1000);
    for (std::uint64_t failAt = 1;; ++failAt) {
        const std::int64_t before = FailingHeap::liveAllocations();
        bool failed = false;
        {
            const FailingHeap heap(failAt);
            try {
                errnoText(EIO);
            } catch (const std::bad_alloc&) {
                failed = true;
            }
            ASSERT_EQ(failed, heap.failed());
        }
        ASSERT_EQ(FailingHeap::liveAllocations(), before) << "allocation " << failAt;
        if (!failed) {
            ASSERT_GT(failAt, 3U);
            break;
        }
    }
}

}  // namespace
}  // namespace Orvanta_OvWallet
