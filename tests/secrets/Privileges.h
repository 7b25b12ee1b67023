// Which limit on locked memory, which capability and which user a process has, set for real. For a
// child process that is thrown away afterwards.
#pragma once

#include <sys/resource.h>
#include <sys/types.h>

#include <string>

struct Privileges {
    // As whom the process acts, and whether it can become root.
    enum class User { root, other, otherThatCanBecomeRoot };

    rlim_t softLimit;
    rlim_t hardLimit;
    bool mayLockBeyondLimits;  // CAP_IPC_LOCK; of otherThatCanBecomeRoot once it is root
    User user;
};

inline constexpr uid_t kOtherUser = 65534;

// "" or what the machine refused.
std::string assume(const Privileges& privileges);

// Limits, real and effective user as they are now. The saved user is left out: the kernel makes it
// the effective one when that is changed back.
std::string currentPrivileges();
