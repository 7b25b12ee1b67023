// What the Java caller sees of one failure, and what has to have been written then.
#pragma once

#include <set>
#include <string>

#include "faults/Scenario.h"

// Of the failing of this system call, "NAME(DETAIL)", with this errno.
std::string outcomeOfSystemCall(const Scenario& scenario, const std::string& call, int errnum);

// Of this JNI call, as StrictJni records it.
std::string outcomeOfJniCall(const std::string& call, bool withException);

// Of an exception of the library or its runtime with this message: it may come from anywhere in the
// call, and it may be in what gives something back on a way that reports nothing.
std::set<std::string> outcomesAnywhere(const std::string& message);

// A message as the Java caller sees it.
std::string connectorFailure(const std::string& message);
std::string cannotUse(const std::string& message);       // the wallet, because of this
std::string cannotGetValue(const std::string& message);  // from the wallet, because of this
