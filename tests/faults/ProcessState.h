// What a native call has to leave in its process as it found it.
#pragma once

#include <sys/types.h>

#include <string>

// The open files, the limits of RLIMIT_MEMLOCK, the users and the amount of locked memory, one per
// line. Two of one process can be compared.
std::string processState();

// Sets the soft limit of RLIMIT_MEMLOCK to half the hard one, so that there is something to raise
// and to put back, and makes the pretended effective user of the machine its first one.
void setLimitsAndUser();

// Fails the test if any thread holds ProcessLock, or its guard mutex, and another thread cannot
// take it.
void expectLockFree();
