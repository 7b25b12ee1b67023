#include "securemem/memoryLocking.h"

#include <sys/resource.h>

#include <cerrno>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "doubles/SystemCalls.h"

namespace Orvanta_OvWallet {
namespace {

using Calls = std::vector<std::string>;

constexpr std::size_t kSize = 8192;

// A process whose limits and effective user exist in this object only. Calls are noted in order,
// and those at the positions of refused fail, 0 being the first.
class SimulatedProcess {
  public:
    SimulatedProcess() {
        systemCalls().mlock = [this](const void* begin, std::size_t size) {
            return enter("mlock " + range(begin, size)) ? grant(locked) : -1;
        };
        systemCalls().munlock = [this](const void* begin, std::size_t size) {
            return enter("munlock " + range(begin, size)) ? 0 : -1;
        };
        systemCalls().getrlimit = [this](__rlimit_resource_t resource, rlimit* limits) {
            if (!enter("getrlimit " + name(resource))) {
                *limits = {1, 2};
                return -1;
            }
            *limits = {soft, hard};
            return 0;
        };
        systemCalls().setrlimit = [this](__rlimit_resource_t resource, const rlimit* limits) {
            const bool restores = limits->rlim_cur == kSoft && limits->rlim_max == kHard;
            if (!enter("setrlimit " + name(resource) + " " + std::to_string(limits->rlim_cur) +
                       "/" + std::to_string(limits->rlim_max))) {
                restoringRefused |= restores;
                return -1;
            }
            soft = limits->rlim_cur;
            hard = limits->rlim_max;
            return 0;
        };
        systemCalls().geteuid = [this] {
            calls.emplace_back("geteuid");
            return effectiveUser;
        };
        systemCalls().setreuid = [this](uid_t realUser, uid_t user) {
            EXPECT_EQ(realUser, static_cast<uid_t>(-1));
            if (!enter("setreuid -1 " + std::to_string(user))) {
                restoringRefused |= user != 0;
                return -1;
            }
            effectiveUser = user;
            return 0;
        };
    }
    ~SimulatedProcess() { systemCalls() = {}; }
    SimulatedProcess(const SimulatedProcess&) = delete;
    SimulatedProcess& operator=(const SimulatedProcess&) = delete;

    bool lock() { return lockMemory(memory_, kSize); }
    void unlock() { unlockMemory(memory_, kSize); }

    bool isAsBefore(uid_t user) const {
        return soft == kSoft && hard == kHard && effectiveUser == user;
    }

    static constexpr rlim_t kSoft = 100;
    static constexpr rlim_t kHard = 900;

    Calls calls;
    std::set<std::size_t> refused;
    rlim_t soft = kSoft;
    rlim_t hard = kHard;
    uid_t effectiveUser = 0;
    int locked = 0;
    bool restoringRefused = false;

  private:
    // Whether the call is granted. errno is no part of any decision, so it changes with every call.
    bool enter(const std::string& call) {
        errno = static_cast<int>(calls.size()) + 1;
        calls.push_back(call);
        return refused.count(calls.size() - 1) == 0;
    }
    static int grant(int& counter) {
        ++counter;
        return 0;
    }
    std::string range(const void* begin, std::size_t size) const {
        return (begin == memory_ ? "memory " : "elsewhere ") + std::to_string(size);
    }
    static std::string name(__rlimit_resource_t resource) {
        return resource == RLIMIT_MEMLOCK ? "MEMLOCK" : "another limit";
    }

    alignas(4096) unsigned char memory_[kSize] = {};
};

constexpr uid_t kUser = 1000;
constexpr const char* kLock = "mlock memory 8192";
constexpr const char* kRead = "getrlimit MEMLOCK";
constexpr const char* kRaise = "setrlimit MEMLOCK 900/900";
constexpr const char* kRestore = "setrlimit MEMLOCK 100/900";
constexpr const char* kRegain = "setreuid -1 0";
constexpr const char* kDropBack = "setreuid -1 1000";

TEST(LockMemory, ThatIsGrantedAtOnceTouchesNothingElse) {
    SimulatedProcess process;
    EXPECT_TRUE(process.lock());
    EXPECT_EQ(process.calls, Calls{kLock});
}

TEST(LockMemory, RaisesTheSoftLimitAndRestoresIt) {
    SimulatedProcess process;
    process.refused = {0};
    EXPECT_TRUE(process.lock());
    EXPECT_EQ(process.calls, (Calls{kLock, kRead, kRaise, kLock, kRestore}));
    EXPECT_TRUE(process.isAsBefore(0));
}

TEST(LockMemory, RaisesTheSoftLimitToUnlimitedWhereTheHardOneIs) {
    const std::string unlimited = std::to_string(RLIM_INFINITY);
    SimulatedProcess process;
    process.hard = RLIM_INFINITY;
    process.refused = {0};
    EXPECT_TRUE(process.lock());
    EXPECT_EQ(process.calls,
              (Calls{kLock, kRead, "setrlimit MEMLOCK " + unlimited + "/" + unlimited, kLock,
                     "setrlimit MEMLOCK 100/" + unlimited}));
}

TEST(LockMemory, RestoresTheSoftLimitWhenItDidNotHelp) {
    SimulatedProcess process;
    process.refused = {0, 3};
    EXPECT_FALSE(process.lock());
    EXPECT_EQ(process.calls, (Calls{kLock, kRead, kRaise, kLock, kRestore, "geteuid"}));
    EXPECT_TRUE(process.isAsBefore(0));
}

TEST(LockMemory, DoesNotTryAgainWhenTheSoftLimitCannotBeRaised) {
    SimulatedProcess process;
    process.refused = {0, 2};
    EXPECT_FALSE(process.lock());
    EXPECT_EQ(process.calls, (Calls{kLock, kRead, kRaise, "geteuid"}));
}

TEST(LockMemory, IsGrantedAlthoughTheSoftLimitCannotBeRestored) {
    SimulatedProcess process;
    process.refused = {0, 4};
    EXPECT_TRUE(process.lock());
    EXPECT_EQ(process.calls, (Calls{kLock, kRead, kRaise, kLock, kRestore}));
}

TEST(LockMemory, OfRootStopsAfterTheSoftLimit) {
    SimulatedProcess process;
    process.refused = {0, 1};
    EXPECT_FALSE(process.lock());
    EXPECT_EQ(process.calls, (Calls{kLock, kRead, "geteuid"}));
}

TEST(LockMemory, StopsWhenRootCannotBeRegained) {
    SimulatedProcess process;
    process.effectiveUser = kUser;
    process.refused = {0, 3, 6};
    EXPECT_FALSE(process.lock());
    EXPECT_EQ(process.calls, (Calls{kLock, kRead, kRaise, kLock, kRestore, "geteuid", kRegain}));
    EXPECT_TRUE(process.isAsBefore(kUser));
}

TEST(LockMemory, RegainsRootAndDropsBack) {
    SimulatedProcess process;
    process.effectiveUser = kUser;
    process.refused = {0, 3};
    EXPECT_TRUE(process.lock());
    EXPECT_EQ(process.calls,
              (Calls{kLock, kRead, kRaise, kLock, kRestore, "geteuid", kRegain, kLock, kDropBack}));
    EXPECT_TRUE(process.isAsBefore(kUser));
}

// Deliberate: as root the limits are set as they were read, not to unlimited.
TEST(LockMemory, TriesOnceMoreAsRootWithTheLimitsAsTheyWereRead) {
    SimulatedProcess process;
    process.effectiveUser = kUser;
    process.refused = {0, 3, 7};
    EXPECT_TRUE(process.lock());
    EXPECT_EQ(process.calls, (Calls{kLock, kRead, kRaise, kLock, kRestore, "geteuid", kRegain,
                                    kLock, kRestore, kLock, kRestore, kDropBack}));
    EXPECT_TRUE(process.isAsBefore(kUser));
}

TEST(LockMemory, IsRefusedWhenTheLastAttemptIs) {
    SimulatedProcess process;
    process.effectiveUser = kUser;
    process.refused = {0, 3, 7, 9};
    EXPECT_FALSE(process.lock());
    EXPECT_EQ(process.calls, (Calls{kLock, kRead, kRaise, kLock, kRestore, "geteuid", kRegain,
                                    kLock, kRestore, kLock, kRestore, kDropBack}));
    EXPECT_TRUE(process.isAsBefore(kUser));
}

TEST(LockMemory, DropsBackWhenTheLimitsCannotBeSetAsRoot) {
    SimulatedProcess process;
    process.effectiveUser = kUser;
    process.refused = {0, 3, 7, 8};
    EXPECT_FALSE(process.lock());
    EXPECT_EQ(process.calls, (Calls{kLock, kRead, kRaise, kLock, kRestore, "geteuid", kRegain,
                                    kLock, kRestore, kDropBack}));
    EXPECT_TRUE(process.isAsBefore(kUser));
}

TEST(LockMemory, TriesAsRootWhenTheSoftLimitCannotBeRaised) {
    SimulatedProcess process;
    process.effectiveUser = kUser;
    process.refused = {0, 2, 5};
    EXPECT_TRUE(process.lock());
    EXPECT_EQ(process.calls, (Calls{kLock, kRead, kRaise, "geteuid", kRegain, kLock, kRestore,
                                    kLock, kRestore, kDropBack}));
    EXPECT_TRUE(process.isAsBefore(kUser));
}

TEST(LockMemory, SetsNoLimitsThatItCouldNotRead) {
    SimulatedProcess process;
    process.effectiveUser = kUser;
    process.refused = {0, 1, 4};
    EXPECT_FALSE(process.lock());
    EXPECT_EQ(process.calls, (Calls{kLock, kRead, "geteuid", kRegain, kLock, kDropBack}));
    EXPECT_TRUE(process.isAsBefore(kUser));
}

TEST(LockMemory, TriesAsRootAlthoughTheLimitsCouldNotBeRead) {
    SimulatedProcess process;
    process.effectiveUser = kUser;
    process.refused = {0, 1};
    EXPECT_TRUE(process.lock());
    EXPECT_EQ(process.calls, (Calls{kLock, kRead, "geteuid", kRegain, kLock, kDropBack}));
    EXPECT_TRUE(process.isAsBefore(kUser));
}

TEST(LockMemory, IsGrantedAlthoughItCannotDropBack) {
    SimulatedProcess process;
    process.effectiveUser = kUser;
    process.refused = {0, 1, 5};
    EXPECT_TRUE(process.lock());
    EXPECT_EQ(process.calls, (Calls{kLock, kRead, "geteuid", kRegain, kLock, kDropBack}));
}

TEST(LockMemory, LeavesLimitsAndUserAsTheyWereWhateverIsRefused) {
    constexpr std::size_t kMostCalls = 12;
    for (const uid_t user : {uid_t{0}, kUser}) {
        for (unsigned refusals = 0; refusals < 1U << kMostCalls; ++refusals) {
            SimulatedProcess process;
            process.effectiveUser = user;
            for (std::size_t call = 0; call < kMostCalls; ++call) {
                if ((refusals >> call & 1U) != 0) {
                    process.refused.insert(call);
                }
            }
            const bool locked = process.lock();
            ASSERT_EQ(locked, process.locked == 1) << "refusals " << refusals;
            ASSERT_LE(process.locked, 1) << "refusals " << refusals;
            ASSERT_LE(process.calls.size(), kMostCalls);
            ASSERT_TRUE(process.isAsBefore(user) || process.restoringRefused)
                << "refusals " << refusals;
        }
    }
}

TEST(UnlockMemory, UnlocksTheRange) {
    SimulatedProcess process;
    process.unlock();
    EXPECT_EQ(process.calls, Calls{"munlock memory 8192"});
}

TEST(UnlockMemory, IgnoresARefusal) {
    SimulatedProcess process;
    process.refused = {0};
    process.unlock();
    EXPECT_EQ(process.calls, Calls{"munlock memory 8192"});
}

}  // namespace
}  // namespace Orvanta_OvWallet
