// What the pool locks under each limit, capability and user, read page by page from the kernel.
//
// For builds without sanitizers, which take mlock away. Most of it needs root, and with CI=true it
// is a failure when there is none. A hard limit above the machine's own needs CAP_SYS_RESOURCE;
// without it the machine's own takes its place, which is said in the output.

#include <sys/resource.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "doubles/ChildProcess.h"
#include "doubles/ProcessMemory.h"
#include "doubles/SystemCalls.h"
#include "secrets/Privileges.h"
#include "securemem/SecureByteVector.h"

namespace Orvanta_OvWallet {
namespace {

constexpr rlim_t kPage = 4096;
constexpr std::array<rlim_t, 4> kLimits{0, 64 << 10, 8 << 20, RLIM_INFINITY};

// Blocks in this order: the third goes beyond 64 KiB, the last beyond 8 MiB; each is a region.
constexpr std::array<std::size_t, 5> kBlockSizes{100, 20'000, 60'000, 4'000'000, 6'000'000};

std::string nameOf(rlim_t limit) {
    return limit == RLIM_INFINITY ? "unlimited" : std::to_string(limit >> 10) + " KiB";
}

// The pages of each region, as the pool asks for them to be locked.
std::vector<MemoryRange>& regions() {
    static std::vector<MemoryRange> ranges;
    return ranges;
}

void noteRegions() {
    systemCalls().mlock = [](const void* begin, std::size_t size) {
        const auto address = reinterpret_cast<std::uint64_t>(begin);
        if (regions().empty() || regions().back().begin != address) {
            regions().push_back({address, address + size});
        }
        return real::mlock(begin, size);
    };
}

// How many pages of the range are locked.
std::uint64_t lockedPages(const std::vector<MappedRange>& memory, MemoryRange range) {
    std::uint64_t pages = 0;
    for (std::uint64_t page = range.begin; page < range.end; page += kPage) {
        pages += static_cast<std::uint64_t>(
            std::any_of(memory.begin(), memory.end(), [page](const MappedRange& mapped) {
                return mapped.isLocked && mapped.range.contains(page);
            }));
    }
    return pages;
}

// "" if of each region all pages are locked or none, as far as the hard limit goes.
std::string checkRegions(bool goesBeyondLimits, rlim_t hardLimit) {
    const std::vector<MappedRange> memory = processMemory();
    std::uint64_t total = 0;
    for (std::size_t i = 0; i < regions().size(); ++i) {
        const std::uint64_t size = regions()[i].end - regions()[i].begin;
        const bool fits = goesBeyondLimits || hardLimit == RLIM_INFINITY ||
                          (hardLimit != 0 && total + size <= hardLimit);
        const std::uint64_t expected = fits ? size : 0;
        const std::uint64_t locked = lockedPages(memory, regions()[i]) * kPage;
        if (locked != expected) {
            return "of region " + std::to_string(i) + " " + std::to_string(locked) +
                   " bytes are locked, not " + std::to_string(expected);
        }
        total += expected;
    }
    long resident = 0;
    for (const MappedRange& mapped : memory) {
        resident += mapped.lockedKilobytes;
    }
    const auto kilobytes = static_cast<long>(total >> 10);
    if (lockedKilobytes() != kilobytes || resident != kilobytes) {
        return std::to_string(lockedKilobytes()) + " kB are locked and " +
               std::to_string(resident) + " of them resident, not " + std::to_string(kilobytes);
    }
    return "";
}

void useBlock(SecureByteVector& block, std::size_t size, std::size_t index) {
    block.begin()[0] = static_cast<std::uint8_t>(index);
    block.begin()[size - 1] = static_cast<std::uint8_t>(index + 1);
}

// Takes all blocks, uses them, and compares; "" when everything is as it should be.
std::string allocateAndCheck(const Privileges& privileges) {
    noteRegions();
    const std::string before = currentPrivileges();
    std::string wrong;
    {
        std::vector<std::unique_ptr<SecureByteVector>> blocks;
        for (const std::size_t size : kBlockSizes) {
            blocks.push_back(std::make_unique<SecureByteVector>(size));
            useBlock(*blocks.back(), size, blocks.size());
            if (currentPrivileges() != before) {
                return before + " became " + currentPrivileges();
            }
        }
        if (regions().size() != kBlockSizes.size()) {
            return std::to_string(regions().size()) + " regions";
        }
        wrong = checkRegions(privileges.mayLockBeyondLimits, privileges.hardLimit);
    }
    if (wrong.empty() && (currentPrivileges() != before || lockedKilobytes() != 0)) {
        return "afterwards " + currentPrivileges() + ", locked " +
               std::to_string(lockedKilobytes()) + " kB";
    }
    return wrong;
}

std::string inAProcessWith(const Privileges& privileges) {
    return inChildProcess([&] {
        const std::string refused = assume(privileges);
        return refused.empty() ? allocateAndCheck(privileges) : refused;
    });
}

// The largest hard limit that can be set here.
rlim_t highestLimit() {
    rlimit limits{};
    ::getrlimit(RLIMIT_MEMLOCK, &limits);
    const rlimit unlimited{RLIM_INFINITY, RLIM_INFINITY};
    const bool canRaise = inChildProcess([&] {
                              return ::setrlimit(RLIMIT_MEMLOCK, &unlimited) == 0
                                         ? std::string("yes")
                                         : std::string("no");
                          }) == "yes";
    return canRaise ? RLIM_INFINITY : limits.rlim_max;
}

struct Actor {
    const char* name;
    Privileges::User user;
    bool mayLockBeyondLimits;
};

void PrintTo(const Actor& actor, std::ostream* out) {
    *out << actor.name;
}

class LockingUnderLimits : public testing::TestWithParam<Actor> {};

// Whether a process can be given these privileges here; says so when it cannot.
bool canBe(const Actor& actor) {
    const std::string refused = inAProcessWith({0, 0, actor.mayLockBeyondLimits, actor.user});
    if (refused.empty()) {
        return true;
    }
    std::cout << "NOT TESTED HERE: " << actor.name << ": " << refused << "; run it as root\n";
    const char* const ci = std::getenv("CI");
    EXPECT_TRUE(ci == nullptr || std::string(ci) != "true") << "with CI=true it has to be tested";
    return false;
}

TEST_P(LockingUnderLimits, LocksWhatTheHardLimitAllowsAndRestoresEverything) {
    if (!canBe(GetParam())) {
        GTEST_SKIP() << "only root can make such a process";
    }
    const rlim_t highest = highestLimit();
    int tried = 0;
    for (const rlim_t hard : kLimits) {
        if (hard > highest) {
            std::cout << "NOT TESTED HERE: a hard limit of " << nameOf(hard)
                      << "; the machine's own is " << nameOf(highest) << " and cannot be raised\n";
        }
        for (const rlim_t soft : kLimits) {
            if (soft > hard) {
                continue;
            }
            const Privileges privileges{std::min(soft, highest), std::min(hard, highest),
                                        GetParam().mayLockBeyondLimits, GetParam().user};
            EXPECT_EQ(inAProcessWith(privileges), "")
                << "soft limit " << nameOf(privileges.softLimit) << ", hard limit "
                << nameOf(privileges.hardLimit);
            ++tried;
        }
    }
    EXPECT_EQ(tried, 10);
}

using enum Privileges::User;
INSTANTIATE_TEST_SUITE_P(
    Of, LockingUnderLimits,
    testing::Values(Actor{"RootWithTheCapability", root, true},
                    Actor{"RootWithoutTheCapability", root, false},
                    Actor{"AnotherUserWithTheCapability", other, true},
                    Actor{"AnotherUserWithoutTheCapability", other, false},
                    Actor{"AUserThatRegainsRootWithTheCapability", otherThatCanBecomeRoot, true},
                    Actor{"AUserThatRegainsRootWithoutIt", otherThatCanBecomeRoot, false}),
    [](const auto& test) { return std::string(test.param.name); });

}  // namespace
}  // namespace Orvanta_OvWallet
