// Calls of the C library that this program answers itself, for every module of the process.
#pragma once

#include <string>

namespace InterposedCalls {

// Where the machine's command link leads. Nothing else is redirected.
void setCommand(const std::string& target);

// Overwrites the stack below the caller. The same happens when the client library has opened a
// wallet: it reads its file into a buffer there, and what it leaves is its own.
void overwriteUnusedStack();

// Everything that was written to the system log, a line each. None of it reaches the log.
std::string systemLog();

}  // namespace InterposedCalls
