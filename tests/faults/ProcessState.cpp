#include "faults/ProcessState.h"

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "doubles/SystemCalls.h"
#include "faults/Machine.h"
#include "wallet/ProcessLock.h"

namespace fs = std::filesystem;

namespace {

constexpr rlim_t kMostToLock = 8 * 1024 * 1024;

// What is open, but for the directory that is read to tell.
std::vector<std::string> openFiles() {
    std::vector<std::string> files;
    for (const fs::directory_entry& entry : fs::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        const fs::path target = fs::read_symlink(entry.path(), gone);
        if (!gone && target.filename() != "fd") {
            files.push_back(entry.path().filename().string() + " " + target.string());
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

std::string lockedMemory() {
    std::ifstream file("/proc/self/status");
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with("VmLck:")) {
            return line;
        }
    }
    return "no VmLck";
}

}  // namespace

std::string processState() {
    std::ostringstream text;
    rlimit limits{};
    real::getrlimit(RLIMIT_MEMLOCK, &limits);
    text << "limits " << limits.rlim_cur << " " << limits.rlim_max << "\nusers " << ::getuid()
         << " " << ::geteuid() << "\n"
         << lockedMemory() << "\n";
    for (const std::string& file : openFiles()) {
        text << file << "\n";
    }
    return text.str();
}

void setLimitsAndUser() {
    rlimit limits{};
    real::getrlimit(RLIMIT_MEMLOCK, &limits);
    limits.rlim_cur = std::min(limits.rlim_max, kMostToLock) / 2;
    real::setrlimit(RLIMIT_MEMLOCK, &limits);
    machine().effectiveUser = kPretendedUser;
}

void expectLockFree() {
    for (pthread_mutex_t* const mutex : {machine().lock.guard, machine().lock.hold}) {
        const bool isFree = ::pthread_mutex_trylock(mutex) == 0;
        ASSERT_TRUE(isFree) << (mutex == machine().lock.hold ? "the lock is held"
                                                             : "the guard mutex is held");
        ::pthread_mutex_unlock(mutex);
    }
    std::thread([] { const Orvanta_OvWallet::ProcessLockGuard lock; }).join();
}
