#include "faults/Machine.h"

#include <cstring>
#include <filesystem>

#include "doubles/ChildProcess.h"
#include "doubles/PrivateModuleDir.h"
#include "doubles/SystemCalls.h"
#include "faults/ReferenceJob.h"
#include "faults/machineDoubles.h"

namespace fs = std::filesystem;

namespace {

// The addresses are the same in a forked process.
ProcessLockMutexes findMutexesElsewhere() {
    const std::string found = inChildProcess([] {
        const ProcessLockMutexes mutexes = findProcessLockMutexes();
        return std::string(reinterpret_cast<const char*>(&mutexes), sizeof mutexes);
    });
    ProcessLockMutexes mutexes{};
    found.copy(reinterpret_cast<char*>(&mutexes), sizeof mutexes);
    return mutexes;
}

}  // namespace

Machine::Machine() : lock(findMutexesElsewhere()) {
    writeFile(tree / "var/lib/rpm/Packages", "");
    writeFile(tree / "var/lib/rpm/ovwallet/inst.dir", "/no/such/directory\n");
    writeFile(tree / "var/lib/rpm/ovwallet1410/inst.dir", sandboxBase() + "\n");
    writeFile(tree / "var/lib/rpm/ovwallet1410x/inst.dir", "/\n");
    fs::create_directories(tree / "usr/bin");
    fs::create_directories(tree / "usr/lib/ovwallet");
    fs::create_symlink("../lib/ovwallet/ovwallet", tree / "usr/bin/ovwallet");
    fs::create_symlink(sandboxBase() + "/orvanta/client/14.10/ovwallet/redhatlinux-x8664/ovwallet",
                       tree / "usr/lib/ovwallet/ovwallet");
    ReferenceJob::fill(wallet);
    installFileDoubles(*this);
    installProcessDoubles(*this);
    installWalletDoubles(*this);
}

Machine::~Machine() {
    systemCalls() = SystemCalls{};
}

std::string Machine::redirected(const char* pathname) const {
    if (std::strncmp(pathname, "/usr/bin/", std::strlen("/usr/bin/")) == 0) {
        return tree / (hasCommandLink ? pathname : "missing");
    }
    if (std::strncmp(pathname, "/var/lib/rpm", std::strlen("/var/lib/rpm")) == 0) {
        return tree / pathname;
    }
    return pathname;
}

Machine& machine() {
    static Machine instance;
    return instance;
}
