// Each double fails when FaultInjection says so, and otherwise does the real thing on the machine.

#include <dlfcn.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <map>
#include <stdexcept>
#include <string>
#include <utility>

#include "doubles/FailingHeap.h"
#include "doubles/SystemCalls.h"
#include "faults/FaultInjection.h"
#include "faults/Machine.h"
#include "wallet/WalletTypes.h"

using namespace Orvanta_OvWallet;

namespace {

// ---- Names of calls: of the arguments, the first one that is a text.

template <typename Argument>
std::string detail(const Argument&) {
    return "";
}
std::string detail(const char* const& text) {
    return text;
}

template <typename... Arguments>
std::string nameOf(const char* function, const Arguments&... arguments) {
    std::string name;
    ((name += name.empty() ? detail(arguments) : ""), ...);
    return function + ("(" + name + ")");
}

// ---- System calls.

// What an argument is on the machine: another pathname, or itself.
template <typename Argument>
class OnMachine {
  public:
    explicit OnMachine(Argument argument) : argument_(argument) {}
    operator Argument() const { return argument_; }  // NOLINT(google-explicit-constructor)

  private:
    Argument argument_;
};
template <>
class OnMachine<const char*> {
  public:
    explicit OnMachine(const char* pathname) : pathname_(pathname) {
        const Machine& on = machine();
        if (pathname_.starts_with("/usr/bin/")) {
            pathname_ = on.tree / (on.scenario.hasCommandLink ? pathname : "missing");
        } else if (pathname_.starts_with("/var/lib/rpm")) {
            pathname_ = on.tree / pathname;
        }
    }
    operator const char*() const {
        return pathname_.c_str();
    }  // NOLINT(google-explicit-constructor)

  private:
    std::string pathname_;
};

// What gives something back has done so when it fails.
enum class Fails { inPlaceOfTheCall, afterTheCall };

template <typename Result, typename... Arguments>
void inject(std::function<Result(Arguments...)>& slot, const char* function,
            std::type_identity_t<Result (*)(Arguments...)> call,
            std::type_identity_t<Result> failure, Fails fails = Fails::inPlaceOfTheCall) {
    slot = [=](Arguments... arguments) -> Result {
        const FailingHeap::Pause pause;
        const std::optional<int> errnum = FaultInjection::take(nameOf(function, arguments...));
        Result result = failure;
        if (!errnum || fails == Fails::afterTheCall) {
            result = call(OnMachine<Arguments>(arguments)...);
        }
        if (errnum) {
            errno = *errnum == 0 ? errno : *errnum;
            return failure;
        }
        return result;
    };
}
#define INJECT(name, ...) inject(systemCalls().name, #name, real::name, __VA_ARGS__)

bool isLost(const char* path) {
    const bool lost = machine().scenario.losesDirectory && std::strncmp(path, "./", 2) == 0;
    errno = lost ? EIO : errno;
    return lost;
}

void installFileDoubles() {
    inject(
        systemCalls().readlink, "readlink",
        [](const char* path, char* buffer, std::size_t size) -> ssize_t {
            return std::strcmp(path, "./ovwalletdir") == 0 && isLost(path)
                       ? -1
                       : real::readlink(path, buffer, size);
        },
        -1);
    inject(
        systemCalls().realpath, "realpath",
        [](const char* path, char* buffer) {
            return isLost(path) ? nullptr : real::realpath(path, buffer);
        },
        nullptr);
    // The helper executable looks as an administrator would have set it up.
    inject(
        systemCalls().lstat, "lstat",
        [](const char* path, struct stat* status) {
            const int result = real::lstat(path, status);
            status->st_uid = 0;
            status->st_mode |= S_ISUID;
            return result;
        },
        -1);
    // The map is all that the library opens and reads by itself.
    inject(
        systemCalls().open, "open",
        [](const char* path, int flags, mode_t mode) {
            errno = machine().scenario.losesDirectory ? EACCES : errno;
            return machine().scenario.losesDirectory ? -1 : real::open(path, flags, mode);
        },
        -1);
    INJECT(read, -1);
    INJECT(fopen, nullptr);
    INJECT(symlink, -1);
    INJECT(access, -1);
    INJECT(getcwd, nullptr);
    INJECT(stat, -1);
    INJECT(opendir, nullptr);
    INJECT(readdir, nullptr);
    INJECT(closedir, -1, Fails::afterTheCall);
}

// With root as effective user for the second time: the last attempt of the escalation.
bool isLastAttempt(const void* begin) {
    thread_local const void* region = nullptr;
    thread_local int attemptsAsRoot = 0;
    attemptsAsRoot = begin == region ? attemptsAsRoot : 0;
    region = begin;
    return machine().effectiveUser == 0 && ++attemptsAsRoot == 2;
}

// A call that is named for what it is meant to do.
bool failsFor(const std::string& call) {
    const std::optional<int> errnum = FaultInjection::take(call);
    errno = errnum ? *errnum : errno;
    return errnum.has_value();
}

void installMemoryDoubles() {
    inject(
        systemCalls().mlock, "mlock",
        [](const void* begin, std::size_t size) {
            if (machine().scenario.refusesLocks && !isLastAttempt(begin)) {
                errno = EPERM;
                return -1;
            }
            return real::mlock(begin, size);
        },
        -1);
    INJECT(munlock, -1, Fails::afterTheCall);
    INJECT(getrlimit, -1);
    INJECT(sysconf, -1);
    systemCalls().setrlimit = [](__rlimit_resource_t resource, const rlimit* limits) {
        const FailingHeap::Pause pause;
        const bool raises = limits->rlim_cur == limits->rlim_max;
        return failsFor(raises ? "setrlimit(raise)" : "setrlimit(restore)")
                   ? -1
                   : real::setrlimit(resource, limits);
    };
}

bool pretendsUsers() {
    return machine().scenario.refusesLocks || machine().scenario.actsForAnother;
}

void installUserDoubles() {
    systemCalls().getuid = [] {
        return pretendsUsers() ? kUser + (machine().scenario.actsForAnother ? 1 : 0)
                               : real::getuid();
    };
    systemCalls().geteuid = [] {
        return pretendsUsers() ? machine().effectiveUser : real::geteuid();
    };
    systemCalls().setreuid = [](uid_t realUser, uid_t effectiveUser) {
        const FailingHeap::Pause pause;
        if (failsFor(effectiveUser == 0 ? "setreuid(become root)" : "setreuid(drop back)")) {
            return -1;
        }
        if (pretendsUsers()) {
            machine().effectiveUser = effectiveUser;
            return 0;
        }
        return real::setreuid(realUser, effectiveUser);
    };
}

void installOtherDoubles(Machine& machine) {
    systemCalls().syslog = [&](int, const char* text) {
        const FailingHeap::Pause pause;
        machine.log += text;
    };
}

// ---- The client library and the dynamic loader.

template <typename Result, typename Call, typename... Arguments>
Result callEntry(const char* entry, const Call& call, Arguments... arguments) {
    const std::optional<int> how = [&] {
        const FailingHeap::Pause pause;
        return FaultInjection::take(nameOf(entry, arguments...));
    }();
    if (!how) {
        return call(arguments...);
    }
    const FailingHeap::Pause pause;
    switch (*how) {
        case kReturnsError:
            machine().wallet.failCall(entry, 1, kWalletText);
            return call(arguments...);
        case kThrowsException:
            throw std::runtime_error(kWalletText);
        case kThrowsNumber:
            throw 7;
        default:
            break;
    }
    if constexpr (std::is_same_v<Result, const char*>) {
        return *how == kGivesInvalidUtf8 ? "\xFF" : nullptr;
    } else {
        return Result();
    }
}

// What the library found last under the name of each entry point, and what it is given instead.
#define WALLET_ENTRY(ordinal, discipline, result, name, parameters, arguments) \
    result(*real_##name) parameters = nullptr;
#include "wallet/EntryPoints.def"
template <auto Real, typename Function>
struct Double;
template <auto Real, typename Result, typename... Arguments>
struct Double<Real, Result(Arguments...)> {
    static inline const char* entry = nullptr;
    static Result call(Arguments... arguments) {
        return callEntry<Result>(entry, **Real, arguments...);
    }
};

void* withFaults(const std::string& name, void* found) {
#define WALLET_ENTRY(ordinal, discipline, result, entryPoint, parameters, arguments) \
    if (name == #entryPoint) {                                                       \
        using Of = Double<&real_##entryPoint, result parameters>;                    \
        Of::entry = #entryPoint;                                                     \
        real_##entryPoint = reinterpret_cast<decltype(real_##entryPoint)>(found);    \
        return reinterpret_cast<void*>(&Of::call);                                   \
    }
#include "wallet/EntryPoints.def"
    return found;
}

int visitRelativeModule(int (*visit)(dl_phdr_info*, std::size_t, void*), void* data) {
    const std::pair<decltype(visit), void*> original(visit, data);
    return real::dl_iterate_phdr(
        [](dl_phdr_info* module, std::size_t size, void* visitor) {
            const auto& [to, with] = *static_cast<decltype(&original)>(visitor);
            dl_phdr_info named = *module;
            named.dlpi_name = "./faults_tests";
            return to(&named, size, with);
        },
        const_cast<void*>(static_cast<const void*>(&original)));
}

void installLoaderDoubles() {
    inject(
        systemCalls().dlopen, "dlopen",
        [](const char* path, int mode) {
            return machine().scenario.refusesLibrary ? nullptr : real::dlopen(path, mode);
        },
        nullptr);
    INJECT(dlclose, 1, Fails::afterTheCall);
    systemCalls().dlsym = [](void* library, const char* name) -> void* {
        const FailingHeap::Pause pause;
        return FaultInjection::take(nameOf("dlsym", name))
                   ? nullptr
                   : withFaults(name, real::dlsym(library, name));
    };
    // Nothing that goes wrong here is the real loader's doing.
    systemCalls().dlerror = [] { return const_cast<char*>(kLoaderText); };
    systemCalls().dl_iterate_phdr = [](int (*visit)(dl_phdr_info*, std::size_t, void*),
                                       void* data) {
        return machine().scenario.losesDirectory ? visitRelativeModule(visit, data)
                                                 : real::dl_iterate_phdr(visit, data);
    };
}

}  // namespace

void installDoubles(Machine& machine) {
    installFileDoubles();
    installMemoryDoubles();
    installUserDoubles();
    installOtherDoubles(machine);
    installLoaderDoubles();
}
