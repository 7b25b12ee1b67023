// Moves the two fixed places where the installation is looked for into a directory of the test's.
//
// "/usr/bin/ovwallet" and what lies below "/var/lib/rpm" is looked for below root instead; every
// look, and every link that is made, is noted in order.
#pragma once

#include <cerrno>
#include <cstring>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "doubles/SystemCalls.h"
#include "doubles/TemporaryDirectory.h"

class OperatingSystemDouble {
  public:
    OperatingSystemDouble() {
        systemCalls().readlink = [this](const char* path, char* buffer, std::size_t size) {
            note(std::string("readlink ") + path);
            return real::readlink(moved(path).c_str(), buffer, size);
        };
        systemCalls().opendir = [this](const char* path) {
            note(std::string("opendir ") + path);
            return real::opendir(moved(path).c_str());
        };
        systemCalls().fopen = [this](const char* path, const char* mode) {
            note(std::string("fopen ") + path);
            return real::fopen(moved(path).c_str(), mode);
        };
        systemCalls().symlink = [this](const char* target, const char* path) {
            note(std::string("symlink ") + target + " " + path);
            return real::symlink(target, path);
        };
    }
    OperatingSystemDouble(const OperatingSystemDouble&) = delete;
    OperatingSystemDouble& operator=(const OperatingSystemDouble&) = delete;

    const TemporaryDirectory root;

    std::vector<std::string> takeCalls() {
        const std::lock_guard lock(mutex_);
        return std::exchange(calls_, {});
    }
    void note(const std::string& call) {
        const std::lock_guard lock(mutex_);
        calls_.push_back(call);
    }

  private:
    std::string moved(const std::string& path) const {
        const bool isFixed =
            path.starts_with("/usr/bin/ovwallet") || path.starts_with("/var/lib/rpm");
        return isFixed ? root.pathname() + path : path;
    }

    std::mutex mutex_;
    std::vector<std::string> calls_;
};
