// The two mutexes behind ProcessLock, told from all others by watching one lock and unlock.
//
// A double of pthread_mutex_lock sees the test framework's own mutexes, too; it fails or notes only
// calls with one of these. Find them while no thread but this one runs.
#pragma once

#include <pthread.h>

struct ProcessLockMutexes {
    pthread_mutex_t* guard;
    pthread_mutex_t* hold;
};

ProcessLockMutexes findProcessLockMutexes();
