#include "faults/Machine.h"

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <sstream>
#include <utility>

#include "doubles/PrivateModuleDir.h"
#include "doubles/ProcessMemory.h"
#include "doubles/SystemCalls.h"

namespace fs = std::filesystem;

namespace {

constexpr rlim_t kMostToLock = 8 * 1024 * 1024;

}  // namespace

Machine::Machine() {
    writeFile(tree / "var/lib/rpm/Packages", "");
    writeFile(tree / "var/lib/rpm/ovwallet/inst.dir", "/no/such/directory\n");
    writeFile(tree / "var/lib/rpm/ovwallet1410/inst.dir", sandboxBase() + "\n");
    writeFile(tree / "var/lib/rpm/ovwallet1410x/inst.dir", "/\n");
    fs::create_directories(tree / "usr/bin");
    fs::create_directories(tree / "usr/lib/ovwallet");
    fs::create_symlink("../lib/ovwallet/ovwallet", tree / "usr/bin/ovwallet");
    fs::create_symlink(sandboxBase() + "/orvanta/client/14.10/ovwallet/redhatlinux-x8664/ovwallet",
                       tree / "usr/lib/ovwallet/ovwallet");
    for (const auto& [name, value] : {std::pair("un", "name"),
                                      {"domain", "example"},
                                      {"pw_dbhost", "secret"},
                                      {"none", ""},
                                      {"nested", "<$ovwallet(un)>"},
                                      {"com.orvanta.OV2", "default"}}) {
        wallet.add(name, value);
    }
    wallet.add("long", std::string(5000, 'x'));
    installDoubles(*this);
}

Machine::~Machine() {
    systemCalls() = SystemCalls{};
}

void Machine::enter(const Scenario& entered) {
    fs::remove(privateModuleDir() + "ovwalletdir");
    scenario = entered;
    resetLimitsAndUser();
    if (scenario.losesDirectory) {
        fs::current_path(privateModuleDir());
    }
}

void Machine::resetLimitsAndUser() {
    rlimit limits{};
    real::getrlimit(RLIMIT_MEMLOCK, &limits);
    limits.rlim_cur = std::min(limits.rlim_max, kMostToLock) / 2;
    real::setrlimit(RLIMIT_MEMLOCK, &limits);
    effectiveUser = kUser;
}

std::string Machine::processState() const {
    std::ostringstream text;
    rlimit limits{};
    real::getrlimit(RLIMIT_MEMLOCK, &limits);
    text << "limits " << limits.rlim_cur << " " << limits.rlim_max << "\nusers " << real::getuid()
         << " " << real::geteuid() << " " << effectiveUser << "\nlocked " << lockedKilobytes();
    std::set<std::string> files;
    for (const fs::directory_entry& entry : fs::directory_iterator("/proc/self/fd")) {
        std::error_code gone;  // the directory that is being read
        const fs::path target = fs::read_symlink(entry.path(), gone);
        if (!gone && target.filename() != "fd") {
            files.insert(entry.path().filename().string() + " " + target.string());
        }
    }
    for (const std::string& file : files) {
        text << "\n" << file;
    }
    return text.str();
}

Machine& machine() {
    static Machine instance;
    return instance;
}
