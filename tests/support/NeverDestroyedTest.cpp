#include "support/NeverDestroyed.h"

#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>

#include <gtest/gtest.h>

namespace Orvanta_OvWallet {
namespace {

class Probe {
  public:
    Probe(std::unique_ptr<int> number, std::string& name)
        : number_(std::move(number)), name_(&name) {}
    ~Probe() { ++destroyed; }
    Probe(const Probe&) = delete;
    Probe& operator=(const Probe&) = delete;

    int number() const { return *number_; }
    std::string& name() const { return *name_; }
    std::unique_ptr<int> takeNumber() { return std::move(number_); }

    static inline int destroyed = 0;

  private:
    std::unique_ptr<int> number_;
    std::string* name_;
};

struct alignas(256) WidelyAligned {
    char text[3];
};

struct SpeaksWhenDestroyed {
    ~SpeaksWhenDestroyed() { std::cerr << "destroyed"; }
};

static_assert(std::is_trivially_destructible_v<NeverDestroyed<std::string>>);
static_assert(!std::is_copy_constructible_v<NeverDestroyed<int>>);
static_assert(!std::is_copy_assignable_v<NeverDestroyed<int>>);

TEST(NeverDestroyed, HandsItsArgumentsOn) {
    std::string name = "name";
    NeverDestroyed<Probe> probe(std::make_unique<int>(42), name);
    EXPECT_EQ((*probe).number(), 42);
    EXPECT_EQ(&(*probe).name(), &name);
    (*probe).takeNumber();
}

TEST(NeverDestroyed, DoesNotDestroyTheObject) {
    std::string name = "name";
    {
        NeverDestroyed<Probe> probe(std::make_unique<int>(42), name);
        (*probe).takeNumber();
    }
    EXPECT_EQ(Probe::destroyed, 0);
}

TEST(NeverDestroyed, GivesTheSameObjectEachTime) {
    NeverDestroyed<int> number(1);
    *number = 2;
    EXPECT_EQ(*number, 2);
    EXPECT_EQ(&*number, &*number);
}

TEST(NeverDestroyed, MakesTheObjectInPlaceAndAligned) {
    NeverDestroyed<WidelyAligned> object;
    EXPECT_EQ(static_cast<void*>(&*object), static_cast<void*>(&object));
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(&*object) % 256, 0U);
}

TEST(NeverDestroyedDeathTest, AStaticOneIsStillThereWhenTheProcessEnds) {
    EXPECT_EXIT(
        {
            static NeverDestroyed<SpeaksWhenDestroyed> object;
            static_cast<void>(*object);
            std::exit(0);
        },
        ::testing::ExitedWithCode(0), "^$");
}

}  // namespace
}  // namespace Orvanta_OvWallet
