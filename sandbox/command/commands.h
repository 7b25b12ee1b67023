// What the command "ovwallet" can do, each from what stands on the command line.
//
// All of them work on the directory that the environment names, write to standard output, and throw
// Failure when it cannot be done; FailureCode::badArgument means that the arguments are to blame.
#pragma once

#include <optional>
#include <string>

namespace Orvanta_OvWallet::Sandbox {

// What stands on the command line; each command uses some of it.
struct Arguments {
    std::string name;
    std::optional<std::string> value;
    std::string entryPoint;
    std::string number;
    std::string text;
};

// Without a value, asks for it twice on a terminal, and takes all of standard input elsewhere, less
// one newline at the end.
void addString(const Arguments& arguments);
void listNames(const Arguments& arguments);
// Throws unless the name is there.
void checkName(const Arguments& arguments);
void showString(const Arguments& arguments);
void removeString(const Arguments& arguments);

void startLedger(const Arguments& arguments);
void showLedger(const Arguments& arguments);
void stopLedger(const Arguments& arguments);

// The text is that of the failure.
void makeCallFail(const Arguments& arguments);
void delayCalls(const Arguments& arguments);
// The text is "std", "other" or "none".
void throwFromCalls(const Arguments& arguments);

}  // namespace Orvanta_OvWallet::Sandbox
