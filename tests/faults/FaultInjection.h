// Makes single calls of the library fail, by their names.
//
//     FaultInjection injection(jvm, {{"readlink(/usr/bin/ovwallet)", 1, EIO}, {"munlock"}});
//     ...   // a native call
//     injection.failed();   // what was made to fail, in order
//
// A call's name is its function's and, in parentheses, which file, entry, symbol or Java object it
// is about: "fopen(/proc/self/maps)", "OvWallet_getStringValue(un)", "NewByteArray(5)",
// "munlock()". It concerns the thread that made it, from its construction until its end; what the
// doubles do themselves is never made to fail. One per thread at a time.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "doubles/FailingHeap.h"
#include "doubles/StrictJni.h"

// An allocation through operator new; allocations have no names of their own.
inline constexpr const char* kAllocation = "operator new";

struct Fault {
    std::string call;       // its name, or how that begins
    std::uint64_t nth = 1;  // which of them, counted from the fault before, or from the start
    int how = 0;            // an errno; of a JNI call a StrictJni::Failure; or a WalletFault
};

class FaultInjection {
  public:
    FaultInjection(StrictJni& jvm, std::vector<Fault> faults);
    ~FaultInjection();
    FaultInjection(const FaultInjection&) = delete;
    FaultInjection& operator=(const FaultInjection&) = delete;

    // All calls that could have been made to fail, but for allocations, and those that were.
    const std::vector<std::string>& calls() const { return calls_; }
    const std::vector<std::string>& failed() const { return failed_; }

    // For doubles: whether this call is to fail, and how. Nothing on a thread without an injection.
    static std::optional<int> take(const std::string& call);

  private:
    void begin();
    void note(const std::string& call);

    StrictJni* jvm_;
    std::vector<Fault> faults_;
    std::vector<std::string> calls_;
    std::vector<std::string> failed_;
    std::uint64_t seen_ = 0;
    FailingHeap heap_;
};
