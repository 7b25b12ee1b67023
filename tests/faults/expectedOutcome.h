// What the Java caller sees of one failure.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "faults/FaultInjection.h"
#include "faults/Machine.h"

// How a call of this name can fail, as Fault::how tells.
std::vector<int> waysToFail(const std::string& call);

// What a call ends with of which this call failed that way.
std::string outcomeOf(const Scenario& scenario, const std::string& call, int how);

// Of an exception of the library or its runtime with this message: it may come from anywhere in the
// call, and it may take the place of a message that was being made.
std::set<std::string> outcomesAnywhere(const std::string& message);

// A message as the Java caller sees it.
std::string connectorFailure(const std::string& message);
std::string cannotUse(const std::string& message);       // the wallet, because of this
std::string cannotGetValue(const std::string& message);  // from the wallet, because of this
