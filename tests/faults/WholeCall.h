// One whole call of the exported function with faults injected, in a process of its own.
//
//     const CallReport report = callWithFaults(kCommandLink, {{"dlsym", 7}});
//
// The child process looks at what is left behind, makes an undisturbed call, and looks again: no
// object of the client library is alive, the lock is free, open files, limits, users and locked
// memory are as before, every property is the old one or the expanded one and those after an old
// one are old, the heap holds what it holds after calls without faults, and no memory was leaked.
// Whatever is not so fails the test.
#pragma once

#include <string>
#include <vector>

#include "faults/FaultInjection.h"
#include "faults/ReferenceJob.h"
#include "faults/Scenario.h"

CallReport callWithFaults(const Scenario& scenario, const std::vector<Fault>& faults);

// "KIND 3 (5), then KIND 1 (0)", to tell in a test's messages.
std::string describe(const std::vector<Fault>& faults);
