// Why something in the sandbox wallet could not be done, in words for the user.
//
// Thrown inside the sandbox only: an entry point turns it into an error object, the command into
// one line on standard error.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <utility>

namespace Orvanta_OvWallet::Sandbox {

// What OvWallet_getErrorCode answers.
enum class FailureCode : std::int32_t {
    badArgument = 1,
    noSuchString = 2,
    fileTrouble = 3,
    malformedFile = 4,
    password = 5,
    terminal = 6,
    requested = 7,  // the ledger asked for this call to fail
    other = 8,
};

class Failure : public std::runtime_error {
  public:
    Failure(FailureCode code, const std::string& message, std::string stringName = {})
        : std::runtime_error(message), code_(code), stringName_(std::move(stringName)) {}

    FailureCode code() const { return code_; }

    // The name of the string that the failure is about; empty when it is about none.
    const std::string& stringName() const { return stringName_; }

  private:
    FailureCode code_;
    std::string stringName_;
};

}  // namespace Orvanta_OvWallet::Sandbox
