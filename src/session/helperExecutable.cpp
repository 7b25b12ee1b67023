#include "session/helperExecutable.h"

#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>

#include "session/walletFiles.h"
#include "support/OvWalletException.h"
#include "support/formatMessage.h"

namespace Orvanta_OvWallet {
namespace {

constexpr const char* kDirectoryMissing = "Orvanta Wallet is not installed (cannot access \"%s\")";
constexpr uid_t kRoot = 0;

std::string quoted(const std::string& pathname) {
    return "\"" + pathname + "\"";
}

bool exists(const std::string& pathname) {
    return ::access(pathname.c_str(), F_OK) == 0;
}

// Deliberate: no blank between "errno =" and the text, here and in the file status message.
std::string unresolved(const CanonicalPath& path) {
    return "Cannot resolve pathname " + quoted(path.path) + " (errno =" + errnoText(path.errnum) +
           ")";
}

struct RequiredBit {
    mode_t bit;
    const char* name;
};
constexpr std::array<RequiredBit, 4> kRequiredBits{{
    {S_ISUID, "set-user-ID on execution"},
    {S_IXUSR, "execute by owner"},
    {S_IXGRP, "execute by group"},
    {S_IXOTH, "execute by others"},
}};

std::string checkStatus(const std::string& helper, const struct stat& status) {
    // The owner comes first: the mode of a file that somebody else may change says nothing.
    if (status.st_uid != kRoot && status.st_uid != ::geteuid()) {
        return "The owner of the " + quoted(helper) + " file is not as expected.";
    }
    if (!S_ISREG(status.st_mode)) {
        return quoted(helper) + " is not a regular file.";
    }
    for (const RequiredBit& required : kRequiredBits) {
        if ((status.st_mode & required.bit) == 0) {
            return quoted(helper) + " does not have the " + required.name + " bit set.";
        }
    }
    return {};
}

std::string checkContainment(const std::string& helper, const std::string& clientDir) {
    if (helper.starts_with(clientDir + "/")) {
        return {};
    }
    return "The helper executable (which is located at " + quoted(helper) +
           ") is not located in a subdirectory of the client directory (which is " +
           quoted(clientDir) + ").";
}

}  // namespace

bool actsForAnotherUser() {
    return ::getuid() != ::geteuid();
}

std::string checkHelperExecutable(const CanonicalPath& clientDir) {
    if (clientDir.errnum != 0) {
        std::string message = unresolved(clientDir);
        if (!exists(clientDir.path)) {
            throw NotInstalledException(formatMessage(kDirectoryMissing, clientDir.path.c_str()));
        }
        return message;
    }
    const CanonicalPath helper = canonicalPath(clientFile(clientDir.path, kHelperExecutable));
    if (helper.errnum != 0) {
        std::string message = unresolved(helper);
        if (!exists(helper.path)) {
            throwNotInstalled(helper.path);
        }
        return message;
    }
    struct stat status{};
    if (::lstat(helper.path.c_str(), &status) != 0) {
        const int errnum = errno;
        return "Cannot get file status for " + quoted(helper.path) +
               " (errno =" + errnoText(errnum) + ")";
    }
    const std::string message = checkStatus(helper.path, status);
    return message.empty() ? checkContainment(helper.path, clientDir.path) : message;
}

}  // namespace Orvanta_OvWallet
