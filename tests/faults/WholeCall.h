// One whole call of the exported function with faults injected, in a process of its own.
//
//     const CallReport report = callWithFaults(kCommandLink, {{"dlsym(OvWallet_freeV1)"}});
//
// The job has four credential properties with two references each; one value is empty, one longer
// than a page, and one holds a reference itself. The child process looks at what is left behind,
// makes an undisturbed call, and looks again: every property is the old one or the expanded one,
// and those after an old one are old; no object of the client library is alive, open files, limits,
// users and locked memory are as before, no memory was leaked; the lock is free. Whatever is not so
// fails the test.
#pragma once

#include <string>
#include <vector>

#include "doubles/ConnectorJob.h"
#include "faults/FaultInjection.h"
#include "faults/Machine.h"

struct CallReport {
    std::vector<std::string> calls;   // all that could fail, but for allocations
    std::vector<std::string> failed;  // those that were made to fail, in order
    std::string outcome;              // as StrictJni::inNativeFrame returns it
    std::string log;                  // what was sent to the system log
    bool everythingWritten = false;   // all four properties were expanded
};

// The outcome when a number that the client library threw came out of the exported function.
inline constexpr const char* kNumberPassed = "the number passed through";

CallReport callWithFaults(const Scenario& scenario, const std::vector<Fault>& faults);

// "the 2nd munlock (5), then the 1st readlink (13)", to tell in a test's messages.
std::string describe(const std::vector<Fault>& faults);

// The job, for tests that make its calls themselves.
class ReferenceJob {
  public:
    ReferenceJob();

    // Calls the exported function with the private module directory.
    CallReport call(const std::vector<Fault>& faults);

    // Has the references stand there again, calls without faults, and fails the test unless
    // everything is expanded.
    void callUndisturbed();
    void reset();

  private:
    bool isEverythingWritten();

    StrictJni jvm_;
    ConnectorJob job_{jvm_};
};

// Fails the test if ProcessLock is held: another thread would then wait until the process is ended.
void expectLockFree();
