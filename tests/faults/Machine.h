// The machine on which whole calls run while faults are injected: a real file system with an
// installation of its own, and what a test says of limits and users.
//
// "/usr/bin/" and "/var/lib/rpm" lead into a temporary tree. The client
// library is the sandbox wallet's, with the strings of ReferenceJob; the command link leads through
// another link to its command. Every system call and every entry point asks FaultInjection
// whether it is to fail. One per process; it ends with the process.
#pragma once

#include <sys/types.h>

#include <string>

#include "doubles/ProcessLockMutexes.h"
#include "doubles/SandboxWallet.h"
#include "doubles/TemporaryDirectory.h"

// The effective user that a machine which pretends users starts with.
inline constexpr uid_t kPretendedUser = 1000;

struct Machine {
    Machine();
    ~Machine();
    Machine(const Machine&) = delete;
    Machine& operator=(const Machine&) = delete;

    // Where a pathname of one of the two places really leads; any other as it is.
    std::string redirected(const char* pathname) const;

    SandboxWallet wallet;
    TemporaryDirectory tree;
    ProcessLockMutexes lock;  // found without taking the lock in this process

    bool hasCommandLink = true;  // else only the package database tells of the installation
    bool refusesLocks = false;   // of each region, all attempts but the last of the escalation
    bool pretendsUsers = false;  // the users below, in place of the process's
    uid_t realUser = 0;
    uid_t effectiveUser = kPretendedUser;
    bool refusesLibrary = false;  // the dynamic loader opens nothing
    bool hidesModule = false;     // the memory map cannot be opened, the linker says "./PROGRAM"
    bool losesDirectory = false;  // "./" has no canonical form and holds no readable link

    std::string log;  // what was sent to the system log
};

// The machine of this process, made on first use.
Machine& machine();
