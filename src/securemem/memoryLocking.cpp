#include "securemem/memoryLocking.h"

#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <optional>
#include <string>

#include "support/OvWalletException.h"
#include "support/formatMessage.h"

namespace Orvanta_OvWallet {
namespace {

constexpr uid_t kRoot = 0;
constexpr uid_t kUnchanged = static_cast<uid_t>(-1);

std::int32_t pageSize = 0;
bool pageSizeKnown = false;

[[noreturn]] void throwUnknownPageSize(int errnumBefore, int errnum) {
    std::string message = "An attempt to determine the system page size failed";
    if (errnum != errnumBefore) {
        message += " (errno = " + errnoText(errnum) + ")";
    }
    throw OvWalletException(message + ".");
}

bool tryLock(const void* begin, std::size_t size) {
    return ::mlock(begin, size) == 0;
}

std::optional<rlimit> memlockLimits() {
    rlimit limits{};
    if (::getrlimit(RLIMIT_MEMLOCK, &limits) != 0) {
        return std::nullopt;
    }
    return limits;
}

bool setMemlockLimits(const rlimit& limits) {
    return ::setrlimit(RLIMIT_MEMLOCK, &limits) == 0;
}

bool tryWithSoftLimitRaised(const void* begin, std::size_t size, const rlimit& limits) {
    if (!setMemlockLimits({limits.rlim_max, limits.rlim_max})) {
        return false;
    }
    const bool locked = tryLock(begin, size);
    setMemlockLimits(limits);
    return locked;
}

// Deliberate: the second attempt runs with the limits as they were read, not with unlimited ones,
// so it locks no more than the first unless the limits were changed in between.
bool tryAsRootWithLimits(const void* begin, std::size_t size, const rlimit& limits) {
    if (!setMemlockLimits(limits)) {
        return false;
    }
    const bool locked = tryLock(begin, size);
    setMemlockLimits(limits);
    return locked;
}

// The effective user is root for as long as this lives, if the process could regain it.
class EffectiveRoot {
  public:
    EffectiveRoot()
        : user_(::geteuid()), regained_(user_ != kRoot && ::setreuid(kUnchanged, kRoot) == 0) {}
    ~EffectiveRoot() {
        if (regained_) {
            [[maybe_unused]] const int result = ::setreuid(kUnchanged, user_);
        }
    }
    EffectiveRoot(const EffectiveRoot&) = delete;
    EffectiveRoot& operator=(const EffectiveRoot&) = delete;

    bool regained() const { return regained_; }

  private:
    uid_t user_;
    bool regained_;
};

bool tryAsRoot(const void* begin, std::size_t size, const std::optional<rlimit>& limits) {
    const EffectiveRoot root;
    if (!root.regained()) {
        return false;
    }
    return tryLock(begin, size) || (limits && tryAsRootWithLimits(begin, size, *limits));
}

}  // namespace

std::int32_t systemPageSize() {
    if (!pageSizeKnown) {
        // A system without an answer returns -1, too, and leaves errno alone.
        const int errnumBefore = errno;
        pageSize = static_cast<std::int32_t>(::sysconf(_SC_PAGESIZE));
        const int errnum = errno;
        if (pageSize == -1) {
            throwUnknownPageSize(errnumBefore, errnum);
        }
        pageSizeKnown = true;
    }
    return pageSize;
}

bool lockMemory(const void* begin, std::size_t size) {
    if (tryLock(begin, size)) {
        return true;
    }
    const std::optional<rlimit> limits = memlockLimits();
    if (limits && tryWithSoftLimitRaised(begin, size, *limits)) {
        return true;
    }
    return tryAsRoot(begin, size, limits);
}

void unlockMemory(const void* begin, std::size_t size) {
    ::munlock(begin, size);
}

}  // namespace Orvanta_OvWallet
