#include "securemem/SecureByteVector.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <limits>
#include <memory>
#include <new>
#include <random>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include "doubles/FailingHeap.h"
#include "doubles/ProcessLockMutexes.h"
#include "doubles/StrictJni.h"
#include "doubles/SystemCalls.h"
#include "securemem/LockedPagePool.h"
#include "support/OvWalletException.h"

namespace Orvanta_OvWallet {
namespace {

static_assert(!std::is_copy_constructible_v<SecureByteVector>);
static_assert(!std::is_copy_assignable_v<SecureByteVector>);

using Calls = std::vector<std::string>;

constexpr const char* kOverflow =
    "An attempt to allocate memory resulted in an overflow condition.";

const std::uint8_t* bytesOf(const std::string& text) {
    return reinterpret_cast<const std::uint8_t*>(text.data());
}

std::string textOf(const SecureByteVector& vector) {
    return {reinterpret_cast<const char*>(vector.begin()), vector.size()};
}

void insert(SecureByteVector& vector, std::size_t position, const std::string& text) {
    vector.insert(vector.begin() + position, bytesOf(text), bytesOf(text) + text.size());
}

// A full vector: its capacity is the text's length.
std::unique_ptr<SecureByteVector> vectorOf(const std::string& text) {
    auto vector = std::make_unique<SecureByteVector>(text.size());
    std::copy_n(bytesOf(text), text.size(), vector->begin());
    return vector;
}

// Counts the pool's regions and the uses of its lock.
class SecureByteVectorTest : public ::testing::Test {
  protected:
    SecureByteVectorTest() {
        systemCalls().mlock = [this](const void*, std::size_t) {
            ++regions_;
            return 0;
        };
        systemCalls().munlock = [this](const void*, std::size_t) {
            --regions_;
            return 0;
        };
    }
    ~SecureByteVectorTest() override {
        systemCalls() = {};
        EXPECT_EQ(regions_, 0) << "storage was not given back";
    }

    static std::string failureOf(const std::function<void()>& action) {
        try {
            action();
            return "no failure";
        } catch (const OvWalletException& failure) {
            return failure.what();
        } catch (const std::bad_alloc&) {
            return "out of memory";
        }
    }

    int regions_ = 0;
};

TEST_F(SecureByteVectorTest, FromAJavaArrayIsACopy) {
    StrictJni jvm;
    JavaObject* const array = jvm.newByteArray(std::string("a\0\xFFz!", 5), "bytes");
    EXPECT_EQ(jvm.inNativeFrame([&] {
        const auto vector =
            SecureByteVector::fromJavaByteArray(jvm.env(), jvm.reference<jbyteArray>(array));
        EXPECT_EQ(textOf(*vector), std::string("a\0\xFFz!", 5));
        EXPECT_EQ(vector->size(), 5U);
        EXPECT_EQ(vector->capacity(), 5U);
        vector->begin()[0] = 'b';
        jvm.env()->ExceptionCheck();
    }),
              "");
    EXPECT_EQ(array->bytes, std::string("a\0\xFFz!", 5));
    EXPECT_EQ(jvm.takeCalls(), (Calls{"GetArrayLength(bytes)", "GetByteArrayRegion(bytes, 0, 5)",
                                      "ExceptionCheck()"}));
}

TEST_F(SecureByteVectorTest, FromAnEmptyJavaArrayIsEmptyAndHasStorage) {
    StrictJni jvm;
    JavaObject* const array = jvm.newByteArray("", "bytes");
    jvm.inNativeFrame([&] {
        const auto vector =
            SecureByteVector::fromJavaByteArray(jvm.env(), jvm.reference<jbyteArray>(array));
        EXPECT_NE(vector->begin(), nullptr);
        EXPECT_EQ(vector->begin(), vector->end());
        EXPECT_EQ(vector->size(), 0U);
        EXPECT_EQ(vector->capacity(), 0U);
        EXPECT_EQ(regions_, 1);
    });
    EXPECT_EQ(regions_, 0);
    EXPECT_EQ(jvm.takeCalls(), Calls{"GetArrayLength(bytes)"});
}

TEST_F(SecureByteVectorTest, AnEmptyOneWhoseRegionIsGoneIsReleased) {
    auto neighbour = std::make_unique<SecureByteVector>(16);
    auto empty = std::make_unique<SecureByteVector>(0);
    neighbour.reset();
    EXPECT_EQ(regions_, 0);
    empty.reset();
    EXPECT_EQ(regions_, 0);
}

TEST_F(SecureByteVectorTest, AnEmptyOneGrows) {
    SecureByteVector vector(0);
    insert(vector, 0, "abc");
    EXPECT_EQ(textOf(vector), "abc");
    EXPECT_EQ(vector.capacity(), 3U);
}

TEST_F(SecureByteVectorTest, LeavesAPendingExceptionOfTheCopyToTheCaller) {
    StrictJni jvm;
    JavaObject* const array = jvm.newByteArray("abc", "bytes");
    jvm.failCall(1);
    EXPECT_EQ(jvm.inNativeFrame([&] {
        const auto vector =
            SecureByteVector::fromJavaByteArray(jvm.env(), jvm.reference<jbyteArray>(array));
        EXPECT_EQ(textOf(*vector), std::string(3, '\0'));
        EXPECT_TRUE(jvm.env()->ExceptionCheck());
    }),
              "java/lang/ArrayIndexOutOfBoundsException: the region failed");
    EXPECT_EQ(jvm.failedCall(), "GetByteArrayRegion(bytes, 0, 3)");
}

TEST_F(SecureByteVectorTest, IsFilledWithZeroesBeforeTheCopyIsMade) {
    // The bytes of an outgrown vector that the next one gets.
    auto other = std::make_unique<SecureByteVector>(16);
    vectorOf("remains");
    StrictJni jvm;
    JavaObject* const array = jvm.newByteArray("abcdefg", "bytes");
    jvm.failCall(1);
    jvm.inNativeFrame([&] {
        const auto vector =
            SecureByteVector::fromJavaByteArray(jvm.env(), jvm.reference<jbyteArray>(array));
        EXPECT_EQ(textOf(*vector), std::string(7, '\0'));
        jvm.env()->ExceptionCheck();
    });
}

TEST_F(SecureByteVectorTest, ANegativeLengthIsAnImpossibleSize) {
    JNINativeInterface_ functions{};
    functions.GetArrayLength = [](JNIEnv*, jarray) { return jsize{-1}; };
    JNIEnv env{&functions};
    EXPECT_EQ(failureOf([&] { SecureByteVector::fromJavaByteArray(&env, nullptr); }), kOverflow);
}

TEST_F(SecureByteVectorTest, WhatLeavesTheCopyFindsTheStorageGivenBack) {
    StrictJni jvm;
    JavaObject* const array = jvm.newByteArray("abc", "bytes");
    jvm.onCall = [this](const std::string& call) {
        if (call.starts_with("GetByteArrayRegion")) {
            EXPECT_EQ(regions_, 1);
            throw std::runtime_error("from the copy");
        }
    };
    const auto copy = [&] {
        SecureByteVector::fromJavaByteArray(jvm.env(), jvm.reference<jbyteArray>(array));
    };
    EXPECT_THROW(jvm.inNativeFrame(copy), std::runtime_error);
    EXPECT_EQ(regions_, 0);
}

TEST_F(SecureByteVectorTest, IsMadeOfZeroBytes) {
    auto other = std::make_unique<SecureByteVector>(16);
    vectorOf("remains");
    const SecureByteVector vector(7);
    EXPECT_EQ(textOf(vector), std::string(7, '\0'));
    EXPECT_EQ(vector.capacity(), 7U);
}

TEST_F(SecureByteVectorTest, IsReadLikeAnArray) {
    const auto vector = vectorOf("\x01\x80\xFF");
    const SecureByteVector& readOnly = *vector;
    EXPECT_EQ(readOnly[0], 0x01);
    EXPECT_EQ(readOnly[1], 0x80);
    EXPECT_EQ(readOnly[2], 0xFF);
    EXPECT_EQ(readOnly.end() - readOnly.begin(), 3);
    EXPECT_EQ(readOnly.size(), 3U);
}

TEST_F(SecureByteVectorTest, AFullOneDoublesForAShortRun) {
    const auto vector = vectorOf("abcde");
    insert(*vector, 5, "f");
    EXPECT_EQ(textOf(*vector), "abcdef");
    EXPECT_EQ(vector->capacity(), 10U);
}

TEST_F(SecureByteVectorTest, AFullOneGrowsByARunThatIsLongerThanItself) {
    const auto vector = vectorOf("abcde");
    insert(*vector, 2, std::string(20, 'x'));
    EXPECT_EQ(textOf(*vector), "ab" + std::string(20, 'x') + "cde");
    EXPECT_EQ(vector->capacity(), 25U);
}

TEST_F(SecureByteVectorTest, AFullOneDoublesForARunOfItsOwnLength) {
    const auto vector = vectorOf("abcde");
    insert(*vector, 0, "12345");
    EXPECT_EQ(textOf(*vector), "12345abcde");
    EXPECT_EQ(vector->capacity(), 10U);
}

TEST_F(SecureByteVectorTest, GrowsByItsSizeAndNotByItsCapacity) {
    const auto vector = vectorOf("abcde");
    insert(*vector, 5, "f");
    ASSERT_EQ(vector->capacity(), 10U);
    insert(*vector, 6, "12345");
    EXPECT_EQ(textOf(*vector), "abcdef12345");
    EXPECT_EQ(vector->capacity(), 12U);
}

TEST_F(SecureByteVectorTest, GrowingKeepsTheOrderAtEveryPosition) {
    for (std::size_t position = 0; position <= 5; ++position) {
        const auto vector = vectorOf("abcde");
        insert(*vector, position, "123");
        EXPECT_EQ(textOf(*vector), std::string("abcde").insert(position, "123"));
    }
}

// With room for the run: nothing moves but the tail.
TEST_F(SecureByteVectorTest, InsertsInPlaceRunsShorterAndLongerThanTheTail) {
    for (std::size_t position = 0; position <= 6; ++position) {
        for (std::size_t length = 1; length <= 14; ++length) {
            const auto vector = vectorOf(std::string(20, '-'));
            vector->erase(vector->begin(), vector->begin() + 20);
            insert(*vector, 0, "abcdef");
            const std::uint8_t* const storage = vector->begin();
            const std::string run = std::string("123456789ABCDE").substr(0, length);
            insert(*vector, position, run);
            ASSERT_EQ(textOf(*vector), std::string("abcdef").insert(position, run));
            ASSERT_EQ(vector->begin(), storage);
            ASSERT_EQ(vector->capacity(), 20U);
        }
    }
}

TEST_F(SecureByteVectorTest, ARunThatFitsExactlyIsInsertedInPlace) {
    const auto vector = vectorOf(std::string(20, '-'));
    vector->erase(vector->begin(), vector->begin() + 10);
    const std::uint8_t* const storage = vector->begin();
    insert(*vector, 0, std::string(10, 'x'));
    EXPECT_EQ(textOf(*vector), std::string(10, 'x') + std::string(10, '-'));
    EXPECT_EQ(vector->begin(), storage);
    insert(*vector, 0, "y");
    EXPECT_EQ(vector->capacity(), 40U);
}

TEST_F(SecureByteVectorTest, InsertingNothingChangesNothingAndTakesNoStorage) {
    const auto vector = vectorOf("abcde");
    const std::uint8_t* const storage = vector->begin();
    const ProcessLockMutexes mutexes = findProcessLockMutexes();
    int locked = 0;
    systemCalls().pthread_mutex_lock = [&](pthread_mutex_t* mutex) {
        locked += mutex == mutexes.guard || mutex == mutexes.hold ? 1 : 0;
        return real::pthread_mutex_lock(mutex);
    };
    vector->insert(vector->begin() + 2, nullptr, nullptr);
    insert(*vector, 5, "");
    systemCalls().pthread_mutex_lock = nullptr;
    EXPECT_EQ(locked, 0);
    EXPECT_EQ(textOf(*vector), "abcde");
    EXPECT_EQ(vector->begin(), storage);
    EXPECT_EQ(vector->capacity(), 5U);
}

TEST_F(SecureByteVectorTest, ErasesBytesAndKeepsTheStorage) {
    const auto vector = vectorOf("abcdefgh");
    std::uint8_t* const storage = vector->begin();
    EXPECT_EQ(vector->erase(storage + 2, storage + 5), storage + 2);
    EXPECT_EQ(textOf(*vector), "abfgh");
    EXPECT_EQ(vector->begin(), storage);
    EXPECT_EQ(vector->capacity(), 8U);
}

TEST_F(SecureByteVectorTest, ErasesAtBothEndsAndNothing) {
    const auto vector = vectorOf("abcdefgh");
    vector->erase(vector->begin(), vector->begin() + 2);
    EXPECT_EQ(textOf(*vector), "cdefgh");
    const std::uint8_t* const next = vector->erase(vector->end() - 1, vector->end());
    EXPECT_EQ(next, vector->end());
    EXPECT_EQ(textOf(*vector), "cdefg");
    EXPECT_EQ(vector->erase(vector->begin() + 1, vector->begin() + 1), vector->begin() + 1);
    EXPECT_EQ(textOf(*vector), "cdefg");
}

TEST_F(SecureByteVectorTest, ErasingAllKeepsTheStorageAndTheOldBytes) {
    const auto vector = vectorOf("abcdefgh");
    std::uint8_t* const storage = vector->begin();
    EXPECT_EQ(vector->erase(vector->begin(), vector->end()), storage);
    EXPECT_EQ(vector->size(), 0U);
    EXPECT_EQ(vector->begin(), storage);
    EXPECT_EQ(vector->capacity(), 8U);
    EXPECT_EQ(std::memcmp(storage, "abcdefgh", 8), 0);
}

TEST_F(SecureByteVectorTest, ErasingLeavesTheBytesBehindTheNewEnd) {
    const auto vector = vectorOf("abcdefgh");
    vector->erase(vector->begin(), vector->begin() + 3);
    EXPECT_EQ(std::memcmp(vector->begin(), "defghfgh", 8), 0);
}

TEST_F(SecureByteVectorTest, OutgrownStorageGoesBackToThePool) {
    auto other = std::make_unique<SecureByteVector>(16);
    const auto vector = vectorOf("0123456789abcdef");
    const std::uint8_t* const outgrown = vector->begin();
    insert(*vector, 16, "g");
    const SecureByteVector next(16);
    EXPECT_EQ(next.begin(), outgrown);
}

TEST_F(SecureByteVectorTest, OfAnImpossibleSizeIsRefused) {
    EXPECT_EQ(failureOf([] { const SecureByteVector vector(0xFFFFFFFFFFFFFFF1); }), kOverflow);
}

TEST_F(SecureByteVectorTest, WithoutMemoryIsNotMadeAndLeaksNothing) {
    systemCalls() = {};
    JNINativeInterface_ functions{};
    functions.GetArrayLength = [](JNIEnv*, jarray) { return jsize{5}; };
    functions.GetByteArrayRegion = [](JNIEnv*, jbyteArray, jsize, jsize, jbyte*) {};
    JNIEnv env{&functions};
    // The first use leaves the lock's and the pool's own memory behind.
    SecureByteVector::fromJavaByteArray(&env, nullptr);
    const std::int64_t live = FailingHeap::liveAllocations();
    for (std::uint64_t failAt = 1;; ++failAt) {
        std::unique_ptr<SecureByteVector> vector;
        std::string failure;
        {
            const FailingHeap heap(failAt);
            failure =
                failureOf([&] { vector = SecureByteVector::fromJavaByteArray(&env, nullptr); });
        }
        if (vector != nullptr) {
            EXPECT_GT(failAt, 8U);
            break;
        }
        EXPECT_EQ(failure, "out of memory");
        EXPECT_LE(FailingHeap::liveAllocations(), live + 1) << "allocation " << failAt;
    }
    EXPECT_LE(FailingHeap::liveAllocations(), live + 1);
}

TEST_F(SecureByteVectorTest, ThatCannotGrowIsUnchanged) {
    const std::string run(10'000, 'x');
    const auto vector = vectorOf("abcde");
    std::uint8_t* const storage = vector->begin();
    for (std::uint64_t failAt = 1;; ++failAt) {
        std::string failure;
        bool heapFailed = false;
        {
            const FailingHeap heap(failAt);
            failure = failureOf([&] { insert(*vector, 2, run); });
            heapFailed = heap.failed();
        }
        if (failure == "no failure") {
            // It had grown when the lock had no memory left to give the old storage back.
            EXPECT_TRUE(heapFailed);
            EXPECT_GT(failAt, 7U);
            break;
        }
        ASSERT_EQ(failure, "out of memory") << "allocation " << failAt;
        ASSERT_EQ(textOf(*vector), "abcde") << "allocation " << failAt;
        ASSERT_EQ(vector->begin(), storage);
        ASSERT_EQ(vector->capacity(), 5U);
    }
    EXPECT_EQ(textOf(*vector), "ab" + run + "cde");
    LockedPagePool::lockedRelease(storage, 5);
}

TEST_F(SecureByteVectorTest, ThatCannotGrowSaysSo) {
    const auto vector = vectorOf("abcde");
    const std::uint8_t* const first = bytesOf("");
    constexpr auto kHuge = std::numeric_limits<std::ptrdiff_t>::max();
    const auto* const last = reinterpret_cast<const std::uint8_t*>(
        reinterpret_cast<std::uintptr_t>(first) + static_cast<std::uintptr_t>(kHuge));
    EXPECT_EQ(failureOf([&] { vector->insert(vector->begin(), first, last); }), "out of memory");
    EXPECT_EQ(textOf(*vector), "abcde");
}

TEST_F(SecureByteVectorTest, AFailureToGiveStorageBackIsNotReported) {
    auto vector = vectorOf("abcde");
    std::uint8_t* const storage = vector->begin();
    const ProcessLockMutexes mutexes = findProcessLockMutexes();
    systemCalls().pthread_mutex_lock = [&](pthread_mutex_t* mutex) {
        return mutex == mutexes.guard ? EINVAL : real::pthread_mutex_lock(mutex);
    };
    vector.reset();
    systemCalls().pthread_mutex_lock = nullptr;
    EXPECT_EQ(regions_, 1);
    LockedPagePool::lockedRelease(storage, 5);
}

TEST_F(SecureByteVectorTest, HoldsWhatAPlainVectorHolds) {
    std::mt19937 random(4711);
    for (int run = 0; run < 30; ++run) {
        std::string expected(random() % 40, 'x');
        const auto vector = vectorOf(expected);
        std::size_t capacity = expected.size();
        for (int step = 0; step < 200; ++step) {
            const std::size_t position = random() % (expected.size() + 1);
            if (random() % 2 == 0 && expected.size() < 3'000) {
                std::string text(random() % 60, '\0');
                std::generate(text.begin(), text.end(),
                              [&] { return static_cast<char>(random()); });
                if (capacity - expected.size() < text.size()) {
                    capacity = expected.size() + std::max(expected.size(), text.size());
                }
                insert(*vector, position, text);
                expected.insert(position, text);
            } else {
                const std::size_t length = random() % (expected.size() - position + 1);
                const std::uint8_t* const next =
                    vector->erase(vector->begin() + position, vector->begin() + position + length);
                ASSERT_EQ(next, vector->begin() + position);
                expected.erase(position, length);
            }
            ASSERT_EQ(textOf(*vector), expected);
            ASSERT_EQ(vector->capacity(), capacity);
        }
    }
}

}  // namespace
}  // namespace Orvanta_OvWallet
