#include "secrets/Privileges.h"

#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cstdint>

namespace {

constexpr std::uint32_t kLockBit = 1U << CAP_IPC_LOCK;

using CapabilityData = std::array<__user_cap_data_struct, 2>;

// Changes what the process may do in one place, by the kernel's own calls: the C library has none.
bool changeCapabilities(bool add) {
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    CapabilityData data{};
    if (::syscall(SYS_capget, &header, data.data()) != 0) {
        return false;
    }
    if (add) {
        data[0].effective |= kLockBit;
    } else {
        data[0].effective &= ~kLockBit;
        data[0].permitted &= ~kLockBit;
    }
    return ::syscall(SYS_capset, &header, data.data()) == 0;
}

bool isPermittedToLock() {
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    CapabilityData data{};
    return ::syscall(SYS_capget, &header, data.data()) == 0 && (data[0].permitted & kLockBit) != 0;
}

bool becomeUser(const Privileges& privileges) {
    switch (privileges.user) {
        case Privileges::User::root:
            return ::getuid() == 0 && ::geteuid() == 0;
        case Privileges::User::otherThatCanBecomeRoot:
            return ::setresuid(0, kOtherUser, 0) == 0;
        case Privileges::User::other:
            break;
    }
    if (!privileges.mayLockBeyondLimits) {
        return ::getuid() != 0 || ::setresuid(kOtherUser, kOtherUser, kOtherUser) == 0;
    }
    return ::prctl(PR_SET_KEEPCAPS, 1) == 0 &&
           ::setresuid(kOtherUser, kOtherUser, kOtherUser) == 0 && changeCapabilities(true);
}

}  // namespace

std::string assume(const Privileges& privileges) {
    const rlimit limits{privileges.softLimit, privileges.hardLimit};
    if (::setrlimit(RLIMIT_MEMLOCK, &limits) != 0) {
        return "the limit cannot be set";
    }
    if (privileges.mayLockBeyondLimits && !isPermittedToLock()) {
        return "there is no CAP_IPC_LOCK to keep";
    }
    if (!privileges.mayLockBeyondLimits && isPermittedToLock() && !changeCapabilities(false)) {
        return "CAP_IPC_LOCK cannot be given up";
    }
    return becomeUser(privileges) ? "" : "the user cannot be changed";
}

std::string currentPrivileges() {
    rlimit limits{};
    ::getrlimit(RLIMIT_MEMLOCK, &limits);
    return std::to_string(limits.rlim_cur) + "/" + std::to_string(limits.rlim_max) + " as " +
           std::to_string(::getuid()) + "/" + std::to_string(::geteuid());
}
