// Makes single calls of the library fail: the k-th of one kind, and then the k-th of another.
//
//     FaultInjection injection(jvm, {{"readlink", 2, EIO}});
//     ...   // a native call
//     injection.finish();   // {"readlink(/usr/lib/ovwallet/ovwallet)"}
//
// Kinds are "allocation" (operator new), "JNI" (whatever StrictJni can make fail), "wallet" (an
// entry point of the client library, see WalletFault) and the functions of SystemCalls.h that
// Machine replaces. It concerns the thread that made it, from its construction until it is
// finished; what the JNI double does is never made to fail. One per thread at a time.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "doubles/FailingHeap.h"
#include "doubles/StrictJni.h"

// What an entry point of the client library does in place of, or besides, what it should.
enum WalletFault {
    kReturnsError = 1,      // an error object with the text kWalletErrorText
    kThrowsException,       // std::runtime_error("the client library threw")
    kThrowsOther,           // what is no std::exception
    kHandsOutNull,          // success, with a null object
    kFreeThrowsException,   // as kThrowsException, but only a free function
    kFreeThrowsOther,       // as kThrowsOther, but only a free function
    kDescribesNothing,      // a null description
    kDescribesInvalidUtf8,  // a description that is no UTF-8
};
inline constexpr const char* kWalletErrorText = "the client library refused";

struct Fault {
    std::string kind;
    std::uint64_t k;  // counted from the fault before, or from the start
    int how = 0;      // an errno; of "JNI" a StrictJni::Failure; of "wallet" a WalletFault
};

class FaultInjection {
  public:
    FaultInjection(StrictJni& jvm, std::vector<Fault> faults);
    ~FaultInjection();
    FaultInjection(const FaultInjection&) = delete;
    FaultInjection& operator=(const FaultInjection&) = delete;

    // No call fails any more. Returns those that were made to fail.
    std::vector<std::string> finish();

    // For doubles: whether this call, "KIND(DETAIL)", is to fail, and how. Nothing on a thread
    // without an injection.
    static std::optional<int> take(const char* kind, const char* detail);
    // The same for an entry point that can only fail in the ways that accepts tells.
    static std::optional<int> take(const char* kind, const char* detail, bool (*accepts)(int how));

  private:
    void begin();
    void note(const std::string& call);

    StrictJni* jvm_;
    std::vector<Fault> faults_;
    std::vector<std::string> happened_;
    std::uint64_t seen_ = 0;
    FailingHeap heap_;
};
