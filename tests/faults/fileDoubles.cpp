#include <limits.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "doubles/FailingHeap.h"
#include "doubles/SystemCalls.h"
#include "faults/FaultInjection.h"
#include "faults/machineDoubles.h"

namespace {

// Whether the call fails; errno is set then.
bool failsNow(const char* function, const char* detail) {
    const std::optional<int> errnum = FaultInjection::take(function, detail);
    if (errnum) {
        errno = *errnum;
    }
    return errnum.has_value();
}

// Runs the real call with the pathname where it really is.
template <typename Call>
auto onTree(const Machine& machine, const char* pathname, const Call& call) {
    const FailingHeap::Pause pause;
    return call(machine.redirected(pathname).c_str());
}

bool isLost(const Machine& machine, const char* pathname) {
    return machine.losesDirectory && std::strncmp(pathname, "./", 2) == 0;
}

// EINVAL says that there is no link, which is no failure but for the one that must be there.
bool readlinkFails(const char* pathname) {
    const std::size_t length = std::strlen(pathname);
    constexpr const char* kRequired = "ovwalletdir";
    const bool required = length >= std::strlen(kRequired) &&
                          std::strcmp(pathname + length - std::strlen(kRequired), kRequired) == 0;
    const std::optional<int> errnum =
        required
            ? FaultInjection::take("readlink", pathname)
            : FaultInjection::take("readlink", pathname, [](int how) { return how != EINVAL; });
    if (errnum) {
        errno = *errnum;
    }
    return errnum.has_value();
}

void installPathnameDoubles(const Machine& machine) {
    systemCalls().readlink = [&](const char* path, char* buffer, std::size_t size) -> ssize_t {
        if (readlinkFails(path)) {
            return -1;
        }
        if (isLost(machine, path) && std::strcmp(path, "./ovwalletdir") == 0) {
            errno = EIO;
            return -1;
        }
        return onTree(machine, path,
                      [&](const char* real) { return real::readlink(real, buffer, size); });
    };
    systemCalls().realpath = [&](const char* path, char* buffer) -> char* {
        if (failsNow("realpath", path)) {
            return nullptr;
        }
        if (isLost(machine, path)) {
            errno = EIO;
            return nullptr;
        }
        return onTree(machine, path,
                      [&](const char* real) { return real::realpath(real, buffer); });
    };
    systemCalls().symlink = [](const char* target, const char* path) {
        return failsNow("symlink", path) ? -1 : real::symlink(target, path);
    };
    systemCalls().access = [](const char* path, int mode) {
        return failsNow("access", path) ? -1 : real::access(path, mode);
    };
    systemCalls().getcwd = [](char* buffer, std::size_t size) {
        return failsNow("getcwd", "") ? nullptr : real::getcwd(buffer, size);
    };
    systemCalls().stat = [&](const char* path, struct stat* status) {
        if (failsNow("stat", path)) {
            return -1;
        }
        return onTree(machine, path, [&](const char* real) { return real::stat(real, status); });
    };
    // The helper executable looks as an administrator would have set it up.
    systemCalls().lstat = [](const char* path, struct stat* status) {
        if (failsNow("lstat", path)) {
            return -1;
        }
        const int result = real::lstat(path, status);
        status->st_uid = 0;
        status->st_mode |= S_ISUID;
        return result;
    };
}

void installStreamDoubles(const Machine& machine) {
    systemCalls().opendir = [&](const char* path) -> DIR* {
        if (failsNow("opendir", path)) {
            return nullptr;
        }
        return onTree(machine, path, [](const char* real) { return real::opendir(real); });
    };
    systemCalls().readdir = [](DIR* stream) {
        return failsNow("readdir", "") ? nullptr : real::readdir(stream);
    };
    systemCalls().closedir = [](DIR* stream) {
        const int result = real::closedir(stream);
        return failsNow("closedir", "") ? -1 : result;
    };
    systemCalls().fopen = [&](const char* path, const char* mode) -> std::FILE* {
        if (failsNow("fopen", path)) {
            return nullptr;
        }
        return onTree(machine, path, [&](const char* real) { return real::fopen(real, mode); });
    };
    systemCalls().open = [&](const char* path, int flags, mode_t mode) {
        if (failsNow("open", path)) {
            return -1;
        }
        if (machine.hidesModule && std::strcmp(path, "/proc/self/maps") == 0) {
            errno = EACCES;
            return -1;
        }
        return real::open(path, flags, mode);
    };
    systemCalls().read = [](int descriptor, void* buffer, std::size_t size) -> ssize_t {
        return failsNow("read", "/proc/self/maps") ? -1 : real::read(descriptor, buffer, size);
    };
}

}  // namespace

void installFileDoubles(Machine& machine) {
    installPathnameDoubles(machine);
    installStreamDoubles(machine);
}
