#include "tool/doctor/systemSteps.h"

#include <langinfo.h>
#include <linux/capability.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <clocale>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "securemem/memoryLocking.h"
#include "support/formatMessage.h"
#include "tool/doctor/Child.h"
#include "tool/output/printable.h"

namespace Orvanta_OvWallet::Tool {
namespace {

constexpr std::array<std::size_t, 3> kPagesTried{1, 2, 16};
constexpr rlim_t kKibi = 1024;

bool mayLockAnything() {
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    std::array<__user_cap_data_struct, _LINUX_CAPABILITY_U32S_3> data{};
    return ::syscall(SYS_capget, &header, data.data()) == 0 &&
           (data[0].effective & (1U << CAP_IPC_LOCK)) != 0;
}

std::string limitText(rlim_t limit) {
    return limit == RLIM_INFINITY ? "none" : std::to_string(limit / kKibi) + " KiB";
}

// The most pages of kPagesTried that the library's own way of locking gets.
void tryLocking(const ChildReport& report) {
    const auto page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    std::size_t most = 0;
    for (const std::size_t pages : kPagesTried) {
        void* const memory = ::mmap(nullptr, pages * page, PROT_READ | PROT_WRITE,
                                    MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (memory == MAP_FAILED) {
            break;
        }
        if (lockMemory(memory, pages * page)) {
            most = pages;
            unlockMemory(memory, pages * page);
        }
        ::munmap(memory, pages * page);
    }
    report.put("pages", std::to_string(most));
}

std::string howMuchIsLocked(bool anything, rlim_t hardLimit, const std::string& pagesTried) {
    if (pagesTried == "0") {
        return "no text is locked";
    }
    if (anything || hardLimit == RLIM_INFINITY) {
        return "all text is locked";
    }
    const auto page = static_cast<rlim_t>(::sysconf(_SC_PAGESIZE));
    return "up to " + limitText(hardLimit / page * page) + " of memory is locked";
}

std::string memoryText(bool anything, rlim_t hardLimit, const std::string& pagesTried) {
    return "limit " + limitText(hardLimit) +
           (anything ? ", CAP_IPC_LOCK: " : ", no CAP_IPC_LOCK: ") +
           howMuchIsLocked(anything, hardLimit, pagesTried);
}

// What follows the name and blanks in a line of a file of the kernel; empty without such a line.
std::string valueIn(const std::string& pathname, const std::string& name) {
    std::ifstream file(pathname);
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with(name)) {
            return line.substr(std::min(line.find_first_not_of(" \t", name.size()), line.size()));
        }
    }
    return {};
}

}  // namespace

void addMemoryStep(Depth depth, int timeoutSeconds, Report& report) {
    rlimit limits{};
    ::getrlimit(RLIMIT_MEMLOCK, &limits);
    const bool anything = mayLockAnything();
    std::string pages;
    if (depth == Depth::kFiles) {
        const auto page = static_cast<rlim_t>(::sysconf(_SC_PAGESIZE));
        pages = anything || limits.rlim_max >= page ? "1" : "0";
    } else {
        const ChildResult child = runInChild(tryLocking, timeoutSeconds);
        if (!child.has("pages")) {
            report.add({"memory", State::kUnknown, {"locking could not be tried"}});
            return;
        }
        pages = child.values.at("pages");
    }
    report.add({"memory",
                pages == "0" ? State::kWarning : State::kOk,
                {memoryText(anything, limits.rlim_max, pages)}});
}

void addProcessStep(int process, Report& report) {
    const std::string directory = "/proc/" + std::to_string(process);
    const std::string user = valueIn(directory + "/status", "Uid:");
    const std::string rights = valueIn(directory + "/status", "CapEff:");
    const std::string limits = valueIn(directory + "/limits", "Max locked memory");
    if (user.empty() || rights.empty() || limits.empty()) {
        report.add({"memory", State::kUnknown, {directory + " cannot be read"}});
        return;
    }
    constexpr int kHexadecimal = 16;
    const bool anything =
        (std::strtoull(rights.c_str(), nullptr, kHexadecimal) >> CAP_IPC_LOCK & 1U) != 0;
    // "SOFT HARD UNIT", where each may be a word.
    std::istringstream words(limits);
    std::string soft;
    std::string hard;
    words >> soft >> hard;
    const rlim_t limit =
        hard == "unlimited" ? RLIM_INFINITY : std::strtoull(hard.c_str(), nullptr, 0);
    const bool none = !anything && limit < static_cast<rlim_t>(::sysconf(_SC_PAGESIZE));
    report.add({"memory",
                none ? State::kWarning : State::kOk,
                {"process " + std::to_string(process) + " of the user with the id " +
                     user.substr(0, user.find_first_of(" \t")),
                 memoryText(anything, limit, none ? "0" : "1"),
                 "locked now: " + valueIn(directory + "/status", "VmLck:")}});
}

void addTextsStep(Report& report) {
    const char* const locale = std::setlocale(LC_MESSAGES, nullptr);
    Step step{"texts", State::kOk, {printable(locale == nullptr ? "no locale" : locale)}};
    // In some languages only the less frequent texts go beyond ASCII.
    for (int errnum = 1; errnum <= EHWPOISON; ++errnum) {
        if (!isUtf8(errnoText(errnum))) {
            step.state = State::kWarning;
            step.found.push_back("the system's texts are not UTF-8 but " +
                                 std::string(::nl_langinfo(CODESET)) +
                                 ": reasons are then lost as \"Invalid UTF-8\"");
            break;
        }
    }
    report.add(std::move(step));
}

}  // namespace Orvanta_OvWallet::Tool
