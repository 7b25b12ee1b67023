// Walks through every state that two or three threads of a ModelProgram can get into, whatever the
// order of their steps, and says the first thing that is wrong with one.
//
// Looked for in every state:
//   - two threads own ProcessLock, or a mutex is unlocked by a thread that does not own it;
//   - with both mutexes free the hold count is not zero;
//   - the reference count is not the number of live objects plus the calls in flight, counted by
//     what each call has taken and not yet handed over;
//   - with ProcessLock free the library is open without a reference or closed with one; it is
//     opened twice, closed twice, or called while it is closed;
//   - a thread begins a new round with a level of the lock or a reference in its hands;
//   - no thread can go on, and not all have ended;
//   - after all have ended anything is left locked, counted or open;
//   - from some state the end of all threads cannot be reached any more.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "model/ModelProgram.h"

struct SearchResult {
    std::string violation;           // "" when nothing is wrong
    std::vector<std::string> steps;  // that lead to it, each with its thread
    std::size_t states = 0;          // that were looked at
};

// refusals is how many times in all a mutex may be refused, wherever that is worst.
SearchResult searchModel(const ModelProgram& program, std::size_t threads, int refusals);

// What goes wrong in a round, if anything.
//
// Opening the library and every choice have two outcomes, the second being the failure. Numbered
// from 1 in the order in which the thread comes to them, the one called failing takes the second.
// Of the attempts to lock a mutex, numbered likewise, the one called refused fails; those of the
// hold mutex are not numbered when guardsOnly. 0 is none.
struct Disturbance {
    int failing = 0;
    int refused = 0;
    bool guardsOnly = false;
};

// What happens in one round of a thread that is alone, as an observer sees it: "lock guard",
// "unlock guard", "lock hold", "unlock hold", "dlopen", "dlclose" and "call".
std::vector<std::string> eventsOfOneRound(const ModelProgram& program,
                                          const Disturbance& disturbance);
