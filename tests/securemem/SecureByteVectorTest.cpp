#include "securemem/SecureByteVector.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <type_traits>

#include <gtest/gtest.h>

#include "doubles/ProcessLockDouble.h"
#include "doubles/SystemCalls.h"
#include "securemem/SecureByteVectorFixture.h"

namespace Orvanta_OvWallet {
namespace {

static_assert(!std::is_copy_constructible_v<SecureByteVector>);
static_assert(!std::is_copy_assignable_v<SecureByteVector>);

using SecureByteVectorTest = SecureByteVectorFixture;

TEST_F(SecureByteVectorTest, AnEmptyOneGrows) {
    SecureByteVector vector(0);
    insert(vector, 0, "abc");
    EXPECT_EQ(textOf(vector), "abc");
    EXPECT_EQ(vector.capacity(), 3U);
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
    ProcessLockDouble lock;
    vector->insert(vector->begin() + 2, nullptr, nullptr);
    insert(*vector, 5, "");
    EXPECT_EQ(lock.takeCalls(), ProcessLockDouble::Calls{});
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

TEST_F(SecureByteVectorTest, ErasingLeavesTheBytesAfterTheNewEnd) {
    const auto vector = vectorOf("abcdefgh");
    vector->erase(vector->begin(), vector->begin() + 3);
    EXPECT_EQ(std::memcmp(vector->begin(), "defghfgh", 8), 0);
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
