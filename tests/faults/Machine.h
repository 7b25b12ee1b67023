// The machine on which whole calls run while faults are injected: a real file system with an
// installation of its own, and what a scenario says of limits and users.
//
// "/usr/bin/" and "/var/lib/rpm" lead into a temporary tree. The client library is the sandbox
// wallet's, with the strings of the job in WholeCall.h; the command link leads through another link
// to its command. Every system call and every entry point asks FaultInjection whether it is to
// fail. One per process; it ends with the process.
#pragma once

#include <sys/types.h>

#include <ostream>
#include <string>

#include "doubles/SandboxWallet.h"
#include "doubles/TemporaryDirectory.h"

// A way through a whole call.
struct Scenario {
    const char* name;
    bool hasCommandLink = true;   // else only the package database tells of the installation
    bool isSecondCall = false;    // an undisturbed call comes first, so nothing is left to set up
    bool refusesLocks = false;    // no page is locked before the escalation's last attempt
    bool actsForAnother = false;  // real and effective user differ, the helper is checked
    bool refusesLibrary = false;  // the dynamic loader refuses the client library
    bool losesDirectory = false;  // the module's directory can only be told from the working
                                  // directory, which has no canonical form
};

inline const Scenario kCommandLink{.name = "CommandLink"};
inline const Scenario kPackages{.name = "Packages", .hasCommandLink = false};
inline const Scenario kSecondCall{.name = "SecondCall", .isSecondCall = true};
inline const Scenario kLocksRefused{.name = "LocksRefused", .refusesLocks = true};
inline const Scenario kForAnotherUser{.name = "ForAnotherUser", .actsForAnother = true};
inline const Scenario kLibraryRefused{.name = "LibraryRefused", .refusesLibrary = true};
inline const Scenario kDirectoryLost{.name = "DirectoryLost", .losesDirectory = true};

// GoogleTest shows it in the names of tests.
inline void PrintTo(const Scenario& scenario, std::ostream* stream) {
    *stream << scenario.name;
}

// The effective user that a scenario about users starts with.
inline constexpr uid_t kUser = 1000;

// What an entry point of the client library does in place of what it should.
enum WalletFault {
    kReturnsError = 1,  // an error object with the text kWalletText
    kThrowsException,   // std::runtime_error(kWalletText)
    kThrowsNumber,      // an int
    kGivesNothing,      // a null result; success, with a null object
    kGivesInvalidUtf8,  // for a description
};
inline constexpr const char* kWalletText = "the client library refused";
inline constexpr const char* kLoaderText = "the loader said so";

struct Machine {
    Machine();
    ~Machine();
    Machine(const Machine&) = delete;
    Machine& operator=(const Machine&) = delete;

    // Lays the scenario out, and gives RLIMIT_MEMLOCK a soft limit below the hard one, so that
    // there is something to raise and to put back.
    void enter(const Scenario& scenario);
    void resetLimitsAndUser();

    // What processState tells should be as it was after a call: open files, limits, users and the
    // amount of locked memory.
    std::string processState() const;

    SandboxWallet wallet;
    TemporaryDirectory tree;

    Scenario scenario = kCommandLink;
    uid_t effectiveUser = 0;  // where the scenario is about users
    std::string log;          // what was sent to the system log
};

// The machine of this process, made on first use.
Machine& machine();

// Puts a double in the place of each system call and of each entry point; see machineDoubles.cpp.
void installDoubles(Machine& machine);
