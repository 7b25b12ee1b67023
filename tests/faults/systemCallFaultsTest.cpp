// Each system call of a whole call in turn, with each errno that it may set.

#include <cerrno>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "faults/FaultCounts.h"
#include "faults/WholeCall.h"
#include "faults/expectedOutcome.h"
#include "support/formatMessage.h"

namespace {

struct SystemCallCase {
    Scenario scenario;
    const char* call;
    std::vector<int> errnums;
};

// GoogleTest shows it in the names of tests.
void PrintTo(const SystemCallCase& each, std::ostream* stream) {
    *stream << each.scenario.name << " " << each.call;
}

class SystemCallFaults : public ::testing::TestWithParam<SystemCallCase> {
  protected:
    // Makes the first such call fail, then the second, and so on; returns how many there were.
    static std::uint64_t failEachCall(int errnum, const auto& check) {
        const auto& [scenario, call, errnums] = GetParam();
        for (std::uint64_t k = 1;; ++k) {
            const std::vector<Fault> faults{{call, k, errnum}};
            SCOPED_TRACE(std::string(scenario.name) + ", " + describe(faults));
            const CallReport report = callWithFaults(scenario, faults);
            if (report.happened.empty()) {
                return k - 1;
            }
            check(report);
        }
    }
};

TEST_P(SystemCallFaults, AreReportedOrOvercomeAndLeaveNothingBehind) {
    const auto& [scenario, call, errnums] = GetParam();
    for (const int errnum : errnums) {
        const std::uint64_t count = failEachCall(errnum, [&,
                                                          &where = scenario](const auto& report) {
            const std::string& failed = report.happened.front();
            EXPECT_EQ(report.outcome, outcomeOfSystemCall(where, failed, errnum)) << failed;
            EXPECT_EQ(report.everythingWritten,
                      report.outcome.empty() || failed.starts_with("dlclose"))
                << failed;
            EXPECT_EQ(report.log, failed.starts_with("closedir")
                                      ? "An attempt to close a directory stream failed (errno = " +
                                            Orvanta_OvWallet::errnoText(errnum) + ")."
                                      : "");
        });
        countInjected(call, count);
    }
}

std::string nameOfCase(const ::testing::TestParamInfo<SystemCallCase>& info) {
    return std::string(info.param.scenario.name) + "_" + info.param.call;
}

const std::vector<int> kPathErrors{EACCES, EIO, ELOOP, ENAMETOOLONG, ENOENT, ENOMEM, ENOTDIR};
// EINVAL is a failure only of the link that must be there.
const std::vector<int> kReadlinkErrors{EACCES,       EINVAL, EIO,    ELOOP,
                                       ENAMETOOLONG, ENOENT, ENOMEM, ENOTDIR};
const std::vector<int> kSymlinkErrors{EACCES, EDQUOT, EEXIST, EIO,     ELOOP, ENAMETOOLONG,
                                      ENOENT, ENOMEM, ENOSPC, ENOTDIR, EPERM, EROFS};
const std::vector<int> kStatErrors{EACCES, ELOOP, ENAMETOOLONG, ENOENT, ENOMEM, ENOTDIR, EOVERFLOW};
const std::vector<int> kAccessErrors{EACCES, EINVAL, EIO,     ELOOP, ENAMETOOLONG,
                                     ENOENT, ENOMEM, ENOTDIR, EROFS};
const std::vector<int> kOpenErrors{EACCES, EINTR, EMFILE, ENFILE, ENOENT, ENOMEM, ENOTDIR};
const std::vector<int> kReadErrors{EBADF, EIO, EINTR, ENOMEM};
const std::vector<int> kGetcwdErrors{EACCES, EINVAL, ENAMETOOLONG, ENOENT, ENOMEM};
const std::vector<int> kMemoryErrors{EAGAIN, EINVAL, ENOMEM, EPERM};
const std::vector<int> kLimitErrors{EFAULT, EINVAL, EPERM};
const std::vector<int> kUserErrors{EAGAIN, EINVAL, EPERM};
const std::vector<int> kSysconfErrors{0, EINVAL};
const std::vector<int> kNoErrno{0};

INSTANTIATE_TEST_SUITE_P(OfTheCommandLink, SystemCallFaults,
                         ::testing::Values(SystemCallCase{kCommandLink, "readlink",
                                                          kReadlinkErrors},
                                           SystemCallCase{kCommandLink, "realpath", kPathErrors},
                                           SystemCallCase{kCommandLink, "symlink", kSymlinkErrors},
                                           SystemCallCase{kCommandLink, "open", kOpenErrors},
                                           SystemCallCase{kCommandLink, "read", kReadErrors},
                                           SystemCallCase{kCommandLink, "dlopen", kNoErrno},
                                           SystemCallCase{kCommandLink, "dlsym", kNoErrno},
                                           SystemCallCase{kCommandLink, "dlclose", kNoErrno},
                                           SystemCallCase{kCommandLink, "mlock", kMemoryErrors},
                                           SystemCallCase{kCommandLink, "munlock", kMemoryErrors},
                                           SystemCallCase{kCommandLink, "sysconf", kSysconfErrors}),
                         nameOfCase);

INSTANTIATE_TEST_SUITE_P(OfThePackageDatabase, SystemCallFaults,
                         ::testing::Values(SystemCallCase{kPackages, "readlink", kReadlinkErrors},
                                           SystemCallCase{kPackages, "realpath", kPathErrors},
                                           SystemCallCase{kPackages, "symlink", kSymlinkErrors},
                                           SystemCallCase{kPackages, "opendir", kOpenErrors},
                                           SystemCallCase{kPackages, "readdir", kReadErrors},
                                           SystemCallCase{kPackages, "closedir", kReadErrors},
                                           SystemCallCase{kPackages, "stat", kStatErrors},
                                           SystemCallCase{kPackages, "fopen", kOpenErrors}),
                         nameOfCase);

INSTANTIATE_TEST_SUITE_P(OfASecondCall, SystemCallFaults,
                         ::testing::Values(SystemCallCase{kSecondCall, "readlink", kReadlinkErrors},
                                           SystemCallCase{kSecondCall, "realpath", kPathErrors},
                                           SystemCallCase{kSecondCall, "open", kOpenErrors},
                                           SystemCallCase{kSecondCall, "read", kReadErrors},
                                           SystemCallCase{kSecondCall, "dlopen", kNoErrno},
                                           SystemCallCase{kSecondCall, "dlsym", kNoErrno},
                                           SystemCallCase{kSecondCall, "dlclose", kNoErrno},
                                           SystemCallCase{kSecondCall, "mlock", kMemoryErrors},
                                           SystemCallCase{kSecondCall, "munlock", kMemoryErrors}),
                         nameOfCase);

INSTANTIATE_TEST_SUITE_P(WhereLocksAreRefused, SystemCallFaults,
                         ::testing::Values(SystemCallCase{kLocksRefused, "mlock", kMemoryErrors},
                                           SystemCallCase{kLocksRefused, "munlock", kMemoryErrors},
                                           SystemCallCase{kLocksRefused, "getrlimit", kLimitErrors},
                                           SystemCallCase{kLocksRefused, "setrlimit", kLimitErrors},
                                           SystemCallCase{kLocksRefused, "setreuid", kUserErrors}),
                         nameOfCase);

INSTANTIATE_TEST_SUITE_P(ForAnotherUser, SystemCallFaults,
                         ::testing::Values(SystemCallCase{kForAnotherUser, "readlink",
                                                          kReadlinkErrors},
                                           SystemCallCase{kForAnotherUser, "realpath", kPathErrors},
                                           SystemCallCase{kForAnotherUser, "lstat", kStatErrors}),
                         nameOfCase);

INSTANTIATE_TEST_SUITE_P(AfterAnotherFailure, SystemCallFaults,
                         ::testing::Values(SystemCallCase{kLibraryRefused, "access", kAccessErrors},
                                           SystemCallCase{kDirectoryLost, "getcwd", kGetcwdErrors}),
                         nameOfCase);

// A working directory whose pathname does not fit is asked for again with more room.
TEST(SystemCallFault, AWorkingDirectoryThatDoesNotFitIsAskedForAgain) {
    const CallReport report = callWithFaults(kDirectoryLost, {{"getcwd", 1, ERANGE}});
    EXPECT_EQ(report.happened, std::vector<std::string>{"getcwd()"});
    EXPECT_EQ(report.outcome, callWithFaults(kDirectoryLost, {}).outcome);
}

}  // namespace
