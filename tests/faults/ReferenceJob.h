// A job whose four credential properties hold two references each, and its calls.
//
// One value is empty, one longer than a page, and one holds a reference itself.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "doubles/ConnectorJob.h"
#include "doubles/SandboxWallet.h"
#include "faults/FaultInjection.h"

struct CallReport {
    std::vector<std::string> happened;  // the calls that were made to fail, in order
    std::string outcome;                // as StrictJni::inNativeFrame returns it
    std::string log;                    // what was sent to the system log
    bool everythingWritten = false;     // all four properties were expanded
};

// The outcome when a number that the client library threw came out of the exported function.
inline constexpr const char* kOtherPassed = "something else passed through";

class ReferenceJob {
  public:
    ReferenceJob() { reset(); }

    // Gives the wallet what the references name.
    static void fill(SandboxWallet& wallet);

    void reset();

    // Calls the exported function with the private module directory. Fails the test unless the
    // properties that were expanded are the first ones and all others have their old values.
    CallReport call(const std::vector<Fault>& faults);

    // Resets the job and calls without faults; fails the test unless everything is expanded.
    void callUndisturbed();

  private:
    bool isEverythingWritten();

    StrictJni jvm_;
    ConnectorJob job_{jvm_};
};
