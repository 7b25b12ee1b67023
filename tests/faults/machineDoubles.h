// What Machine puts in the place of system calls and of the client library's entry points. Each
// double fails when FaultInjection says so, and otherwise does the real thing on the machine.
#pragma once

#include "faults/Machine.h"

void installFileDoubles(Machine& machine);     // pathnames, directories, files
void installProcessDoubles(Machine& machine);  // memory, limits, users, the system log
void installWalletDoubles(Machine& machine);   // the dynamic loader and the client library
