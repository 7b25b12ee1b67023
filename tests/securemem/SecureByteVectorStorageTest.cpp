// Where the storage of a SecureByteVector comes from and goes to, also when something fails.

#include <cerrno>
#include <cstdint>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "doubles/FailingHeap.h"
#include "doubles/ProcessLockDouble.h"
#include "doubles/StrictJni.h"
#include "doubles/SystemCalls.h"
#include "doubles/thrown.h"
#include "securemem/LockedPagePool.h"
#include "securemem/SecureByteVectorFixture.h"

namespace Orvanta_OvWallet {
namespace {

using Calls = std::vector<std::string>;
using SecureByteVectorStorage = SecureByteVectorFixture;

constexpr const char* kOutOfMemory = "std::bad_alloc";
constexpr const char* kOverflow =
    "An attempt to allocate memory resulted in an overflow condition.";

TEST_F(SecureByteVectorStorage, FromAJavaArrayIsACopy) {
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

TEST_F(SecureByteVectorStorage, FromAnEmptyJavaArrayIsEmptyAndHasStorage) {
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

TEST_F(SecureByteVectorStorage, AnEmptyOneWhoseRegionIsGoneIsReleased) {
    auto neighbour = std::make_unique<SecureByteVector>(16);
    auto empty = std::make_unique<SecureByteVector>(0);
    neighbour.reset();
    EXPECT_EQ(regions_, 0);
    empty.reset();
    EXPECT_EQ(regions_, 0);
}

TEST_F(SecureByteVectorStorage, LeavesAPendingExceptionOfTheCopyToTheCaller) {
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

TEST_F(SecureByteVectorStorage, IsFilledWithZeroesBeforeTheCopyIsMade) {
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

TEST_F(SecureByteVectorStorage, ANegativeLengthIsAnImpossibleSize) {
    JNINativeInterface_ functions{};
    functions.GetArrayLength = [](JNIEnv*, jarray) { return jsize{-1}; };
    JNIEnv env{&functions};
    EXPECT_EQ(thrownBy([&] { SecureByteVector::fromJavaByteArray(&env, nullptr); }), kOverflow);
}

TEST_F(SecureByteVectorStorage, WhatLeavesTheCopyFindsTheStorageGivenBack) {
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

TEST_F(SecureByteVectorStorage, IsMadeOfZeroBytes) {
    auto other = std::make_unique<SecureByteVector>(16);
    vectorOf("remains");
    const SecureByteVector vector(7);
    EXPECT_EQ(textOf(vector), std::string(7, '\0'));
    EXPECT_EQ(vector.capacity(), 7U);
}

TEST_F(SecureByteVectorStorage, OutgrownStorageGoesBackToThePool) {
    auto other = std::make_unique<SecureByteVector>(16);
    const auto vector = vectorOf("0123456789abcdef");
    const std::uint8_t* const outgrown = vector->begin();
    insert(*vector, 16, "g");
    const SecureByteVector next(16);
    EXPECT_EQ(next.begin(), outgrown);
}

TEST_F(SecureByteVectorStorage, OfAnImpossibleSizeIsRefused) {
    EXPECT_EQ(thrownBy([] { const SecureByteVector vector(0xFFFFFFFFFFFFFFF1); }), kOverflow);
}

TEST_F(SecureByteVectorStorage, WithoutMemoryIsNotMadeAndLeaksNothing) {
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
                thrownBy([&] { vector = SecureByteVector::fromJavaByteArray(&env, nullptr); });
        }
        if (vector != nullptr) {
            EXPECT_GT(failAt, 3U) << FailingHeap::liveAllocations() - live;
            break;
        }
        EXPECT_EQ(failure, kOutOfMemory);
        EXPECT_LE(FailingHeap::liveAllocations(), live + 1) << "allocation " << failAt;
    }
    EXPECT_LE(FailingHeap::liveAllocations(), live + 1);
}

TEST_F(SecureByteVectorStorage, ThatCannotGrowIsUnchanged) {
    const std::string run(10'000, 'x');
    const auto vector = vectorOf("abcde");
    std::uint8_t* const storage = vector->begin();
    for (std::uint64_t failAt = 1;; ++failAt) {
        std::string failure;
        {
            const FailingHeap heap(failAt);
            failure = thrownBy([&] { insert(*vector, 2, run); });
        }
        if (failure == "nothing") {
            EXPECT_GT(failAt, 2U);
            break;
        }
        ASSERT_EQ(failure, kOutOfMemory) << "allocation " << failAt;
        ASSERT_EQ(textOf(*vector), "abcde") << "allocation " << failAt;
        ASSERT_EQ(vector->begin(), storage);
        ASSERT_EQ(vector->capacity(), 5U);
    }
    EXPECT_EQ(textOf(*vector), "ab" + run + "cde");
}

TEST_F(SecureByteVectorStorage, ThatCannotGrowSaysSo) {
    const auto vector = vectorOf("abcde");
    const std::uint8_t* const first = bytesOf("");
    constexpr auto kHuge = std::numeric_limits<std::ptrdiff_t>::max();
    const auto* const last = reinterpret_cast<const std::uint8_t*>(
        reinterpret_cast<std::uintptr_t>(first) + static_cast<std::uintptr_t>(kHuge));
    EXPECT_EQ(thrownBy([&] { vector->insert(vector->begin(), first, last); }), kOutOfMemory);
    EXPECT_EQ(textOf(*vector), "abcde");
}

TEST_F(SecureByteVectorStorage, AFailureToGiveStorageBackIsNotReported) {
    auto vector = vectorOf("abcde");
    std::uint8_t* const storage = vector->begin();
    ProcessLockDouble lock;
    lock.failCall("lock guard");
    vector.reset();
    EXPECT_EQ(lock.takeCalls().back(), "lock guard") << "tried once";
    EXPECT_EQ(regions_, 1);
    LockedPagePool::lockedRelease(storage, 5);
}

}  // namespace
}  // namespace Orvanta_OvWallet
