#include "sandbox/library/Calls.h"

#include <time.h>

#include <cerrno>
#include <stdexcept>

#include "sandbox/library/VariantFault.h"

namespace Orvanta_OvWallet::Sandbox {

namespace {

// Its code is in this library, as that of a C++ library's exceptions is: whoever has one must not
// close the library before they have done with it.
class LibraryException : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

// What is no standard exception, with code in this library all the same: whoever catches it
// destroys it.
class LibraryThrowable {
  public:
    LibraryThrowable() = default;
    LibraryThrowable(const LibraryThrowable&) = default;
    LibraryThrowable& operator=(const LibraryThrowable&) = default;
    virtual ~LibraryThrowable() { destroyed_ = true; }

  private:
    volatile bool destroyed_ = false;
};

void waitFor(std::uint64_t microseconds) {
    timespec rest{static_cast<time_t>(microseconds / 1'000'000U),
                  static_cast<long>(microseconds % 1'000'000U * 1'000U)};
    while (::nanosleep(&rest, &rest) != 0 && errno == EINTR) {
    }
}

void throwAsTold(ThrowKind kind) {
    switch (kind) {
        case ThrowKind::nothing:
            return;
        case ThrowKind::standardException:
            throw LibraryException("the client library threw");
        case ThrowKind::otherType:
            throw LibraryThrowable();
    }
}

}  // namespace

std::optional<std::string> enterCall(EntryPoint entryPoint) {
    CallPlan plan = planCall(entryPoint);
    if (plan.delayMicroseconds != 0) {
        waitFor(plan.delayMicroseconds);
    }
    throwAsTold(builtInThrow(entryPoint));
    throwAsTold(plan.throwKind);
    return std::move(plan.failure);
}

WalletError* errorFrom(const Failure& failure) {
    return handOut<WalletError>(ErrorObject{failure.code(), failure.what(), failure.stringName()});
}

std::string requiredName(const char* name) {
    if (name == nullptr) {
        throw Failure(FailureCode::badArgument, "The name of the string is null.");
    }
    return name;
}

const char* textArgument(OpaqueArgument* argument) {
    return reinterpret_cast<const char*>(argument);
}

LockedUTF8Vector* vectorArgument(OpaqueArgument* argument) {
    return reinterpret_cast<LockedUTF8Vector*>(argument);
}

void storeFlag(OpaqueArgument* argument, bool value) {
    requireOutput(argument);
    *static_cast<std::int32_t*>(static_cast<void*>(argument)) = value ? 1 : 0;
}

std::string textOf(const ByteVector& bytes) {
    return {bytes.begin(), bytes.end()};
}

}  // namespace Orvanta_OvWallet::Sandbox
