#include <sys/mman.h>

#include <cerrno>
#include <string>

#include "doubles/FailingHeap.h"
#include "doubles/SystemCalls.h"
#include "faults/FaultInjection.h"
#include "faults/machineDoubles.h"

namespace {

bool failsNow(const char* function, const char* detail) {
    const std::optional<int> errnum = FaultInjection::take(function, detail);
    if (errnum && *errnum != 0) {
        errno = *errnum;
    }
    return errnum.has_value();
}

// With root as effective user for the second time: the last attempt of the escalation.
bool isLastAttempt(const Machine& machine, const void* begin) {
    thread_local const void* region = nullptr;
    thread_local int attemptsAsRoot = 0;
    if (begin != region) {
        region = begin;
        attemptsAsRoot = 0;
    }
    return machine.effectiveUser == 0 && ++attemptsAsRoot == 2;
}

bool sameLimits(const rlimit& one, const rlimit& other) {
    return one.rlim_cur == other.rlim_cur && one.rlim_max == other.rlim_max;
}

void installMemoryDoubles(Machine& machine) {
    systemCalls().mlock = [&](const void* begin, std::size_t size) {
        const bool refused = machine.refusesLocks && !isLastAttempt(machine, begin);
        if (failsNow("mlock", "")) {
            return -1;
        }
        if (refused) {
            errno = EPERM;
            return -1;
        }
        return real::mlock(begin, size);
    };
    // What cannot be unlocked is unlocked behind the library's back: the next owner of the memory
    // has no use for locked pages.
    systemCalls().munlock = [](const void* begin, std::size_t size) {
        const int result = real::munlock(begin, size);
        return failsNow("munlock", "") ? -1 : result;
    };
    systemCalls().getrlimit = [](__rlimit_resource_t resource, rlimit* limits) {
        return failsNow("getrlimit", "") ? -1 : real::getrlimit(resource, limits);
    };
    systemCalls().setrlimit = [](__rlimit_resource_t resource, const rlimit* limits) {
        rlimit present{};
        real::getrlimit(resource, &present);
        const bool raises = limits->rlim_cur == limits->rlim_max;
        const bool changes = !sameLimits(*limits, present);
        const char* const detail = raises ? "raise" : changes ? "restore" : "again";
        return failsNow("setrlimit", detail) ? -1 : real::setrlimit(resource, limits);
    };
    systemCalls().sysconf = [](int name) {
        return failsNow("sysconf", "") ? -1 : real::sysconf(name);
    };
}

void installUserDoubles(Machine& machine) {
    systemCalls().getuid = [&] {
        return machine.pretendsUsers ? machine.realUser : real::getuid();
    };
    systemCalls().geteuid = [&] {
        return machine.pretendsUsers ? machine.effectiveUser : real::geteuid();
    };
    systemCalls().setreuid = [&](uid_t realUser, uid_t effectiveUser) {
        if (failsNow("setreuid", effectiveUser == 0 ? "become root" : "drop back")) {
            return -1;
        }
        if (machine.pretendsUsers) {
            machine.effectiveUser = effectiveUser;
            return 0;
        }
        return real::setreuid(realUser, effectiveUser);
    };
}

}  // namespace

void installProcessDoubles(Machine& machine) {
    installMemoryDoubles(machine);
    installUserDoubles(machine);
    systemCalls().syslog = [&](int, const char* text) {
        const FailingHeap::Pause pause;
        machine.log += text;
    };
}
