// A failure on the way out of a failure: the first one is reported, and nothing ends the process.

#include <cerrno>
#include <ostream>
#include <set>

#include <gtest/gtest.h>

#include "faults/WholeCall.h"
#include "faults/expectedOutcome.h"

namespace {

struct FirstFault {
    const char* name;
    Scenario scenario;
    Fault fault;
    std::vector<const char*> cleanUp;  // calls that nothing but clean-up makes after it
};

void PrintTo(const FirstFault& first, std::ostream* stream) {
    *stream << first.name;
}

class TwoFaults : public ::testing::TestWithParam<FirstFault> {
  protected:
    static std::string outcomeOfTheFirst() {
        const CallReport report = callWithFaults(GetParam().scenario, {GetParam().fault});
        EXPECT_EQ(report.failed.size(), 1U);
        EXPECT_NE(report.outcome, "");
        return report.outcome;
    }

    // Adds each second failure of that name in turn to the first; returns how many there were.
    static std::uint64_t addInTurn(Fault second, const std::set<std::string>& expected) {
        for (;; ++second.nth) {
            const std::vector<Fault> faults{GetParam().fault, second};
            SCOPED_TRACE(describe(faults));
            const CallReport report = callWithFaults(GetParam().scenario, faults);
            if (report.failed.size() < 2) {
                return second.nth - 1;
            }
            EXPECT_TRUE(expected.contains(report.outcome)) << report.outcome;
        }
    }

    // A failure while the report of the first is made may take its place. Nothing else does.
    static std::set<std::string> outcomes(const std::string& second) {
        std::set<std::string> all = outcomesAnywhere(second);
        all.insert(outcomeOfTheFirst());
        return all;
    }
};

TEST_P(TwoFaults, TheFirstIsReportedWhenACallOfTheCleanUpFails) {
    const std::set<std::string> first{outcomeOfTheFirst()};
    for (const char* const call : GetParam().cleanUp) {
        const bool isWallet = std::string(call).starts_with("OvWallet");
        EXPECT_GT(addInTurn({call, 1, isWallet ? kThrowsException : EIO}, first), 0U)
            << call << " was not called";
        if (isWallet) {
            addInTurn({call, 1, kThrowsNumber}, first);
        }
    }
}

TEST_P(TwoFaults, OneOfThemIsReportedWhenMemoryRunsOutOnTheWayOut) {
    addInTurn({kAllocation}, outcomes("std::bad_alloc"));
}

INSTANTIATE_TEST_SUITE_P(
    BeforeTheWalletIsOpen, TwoFaults,
    ::testing::Values(
        FirstFault{"ReadingTheDirectory", kPackages, {"readdir", 3, EIO}, {"closedir"}},
        FirstFault{"AnErrorOfOpening",
                   kSecondCall,
                   {"OvWalletFactory_generateOvWalletV1", 1, kReturnsError},
                   {"OvWallet_freeError", "dlclose"}},
        FirstFault{"AnExceptionOfOpening",
                   kSecondCall,
                   {"OvWalletFactory_generateOvWalletV1", 1, kThrowsException},
                   {"dlclose"}}),
    [](const auto& test) { return std::string(test.param.name); });

INSTANTIATE_TEST_SUITE_P(
    OnceTheWalletIsOpen, TwoFaults,
    ::testing::Values(
        FirstFault{
            "ThePageSize", kCommandLink, {"sysconf", 1, EINVAL}, {"OvWallet_freeV1", "dlclose"}},
        FirstFault{"AnErrorOfTheFirstValue",
                   kSecondCall,
                   {"OvWallet_getStringValue(un)", 1, kReturnsError},
                   {"OvWallet_freeError", "OvWallet_freeV1", "munlock", "dlclose"}},
        FirstFault{"AnErrorOfANestedValue",
                   kSecondCall,
                   {"OvWallet_getStringValue(un)", 2, kReturnsError},
                   {"OvWallet_freeError", "OvWallet_freeV1", "munlock", "dlclose"}},
        FirstFault{"AnExceptionOfAValue",
                   kSecondCall,
                   {"OvWallet_getStringValue(domain)", 1, kThrowsException},
                   {"OvWallet_freeV1", "munlock", "dlclose"}},
        FirstFault{"AnExceptionOfASize",
                   kSecondCall,
                   {"OvWallet_getSizeLockedUTF8Vector", 1, kThrowsException},
                   {"OvWallet_freeLockedUTF8Vector", "OvWallet_freeV1", "munlock", "dlclose"}},
        FirstFault{"ANumberInsteadOfBytes",
                   kSecondCall,
                   {"OvWallet_getPtrLockedUTF8Vector", 1, kThrowsNumber},
                   {"OvWallet_freeLockedUTF8Vector", "OvWallet_freeV1", "munlock", "dlclose"}},
        FirstFault{"ALargerBlock",
                   kSecondCall,
                   {"OvWallet_getSizeLockedUTF8Vector", 7, kThrowsException},
                   {"OvWallet_freeLockedUTF8Vector", "OvWallet_freeV1", "munlock", "dlclose"}},
        FirstFault{"TheGetterOfAProperty",
                   kSecondCall,
                   {"CallStaticObjectMethodV(OrvantaPlugInConfiguration, getInputOrvantaPassword"},
                   {"OvWallet_freeV1", "munlock", "dlclose"}},
        FirstFault{"TheNewArray",
                   kSecondCall,
                   {"NewByteArray"},
                   {"OvWallet_freeV1", "munlock", "dlclose"}},
        FirstFault{"TheSetterOfAProperty",
                   kLocksRefused,
                   {"CallStaticVoidMethodV(OrvantaPlugInConfiguration, setOutputOrvantaPassword"},
                   {"OvWallet_freeV1", "munlock", "dlclose"}}),
    [](const auto& test) { return std::string(test.param.name); });

// ---- What the library says and does on purpose when a second call fails.

TEST(TwoFaultsOfTheLoader, ALibraryThatCannotBeClosedIsWorseNewsThanAnEntryPointThatItLacks) {
    for (const char* const symbol :
         {"dlsym(OvWallet_getErrorDescription)", "dlsym(OvWallet_freeV1)"}) {
        const CallReport report = callWithFaults(kCommandLink, {{symbol}, {"dlclose"}});
        EXPECT_EQ(report.failed.size(), 2U);
        const std::string unloading =
            outcomeOf(kCommandLink, "dlclose()", 0).substr(connectorFailure("").size());
        EXPECT_EQ(report.outcome, cannotUse(unloading));
    }
}

// ---- Errors whose description is of no use, or cannot be had.

TEST(ADescription, ThatIsNullLeavesAMessage) {
    for (const char* const call :
         {"OvWalletFactory_generateOvWalletV1", "OvWallet_getStringValue(nested)"}) {
        for (const int how : {kGivesNothing, kGivesInvalidUtf8, kThrowsException, kThrowsNumber}) {
            const std::vector<Fault> faults{{call, 1, kReturnsError},
                                            {"OvWallet_getErrorDescription", 1, how}};
            SCOPED_TRACE(describe(faults));
            const CallReport report = callWithFaults(kCommandLink, faults);
            EXPECT_EQ(report.failed.size(), 2U);
            const bool opens = std::string(call).starts_with("OvWalletFactory");
            const char* const unknown = "unknown error";
            EXPECT_EQ(report.outcome, how == kGivesNothing
                                          ? opens ? cannotUse(unknown) : cannotGetValue(unknown)
                                      : how == kGivesInvalidUtf8 ? connectorFailure("Invalid UTF-8")
                                      : how == kThrowsException  ? connectorFailure(kWalletText)
                                                                 : kNumberPassed);
        }
    }
}

}  // namespace
