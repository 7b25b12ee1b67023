#include "tool/doctor/systemSteps.h"

#include <langinfo.h>
#include <linux/capability.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <clocale>

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
    return "up to " + limitText(hardLimit) + " of text is locked";
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
    Step step{"memory", pages == "0" ? State::kWarning : State::kOk, {}};
    step.found.push_back("limit " + limitText(limits.rlim_max) +
                         (anything ? ", CAP_IPC_LOCK: " : ", no CAP_IPC_LOCK: ") +
                         howMuchIsLocked(anything, limits.rlim_max, pages));
    report.add(std::move(step));
}

void addTextsStep(Report& report) {
    const char* const locale = std::setlocale(LC_MESSAGES, nullptr);
    Step step{"texts", State::kOk, {printable(locale == nullptr ? "no locale" : locale)}};
    for (const int errnum : {ENOENT, EACCES, EEXIST, ENOTDIR, ELOOP, EROFS}) {
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
