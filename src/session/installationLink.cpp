#include "session/installationLink.h"

#include <unistd.h>

#include <atomic>
#include <cerrno>

#include "jni/JniOwners.h"
#include "session/installationSearch.h"
#include "session/walletFiles.h"
#include "support/OvWalletException.h"
#include "support/formatMessage.h"
#include "wallet/ProcessLock.h"

namespace Orvanta_OvWallet {
namespace {

constexpr const char* kNoTempDir =
    "Cannot retrieve the pathname to the private temporary directory.";
constexpr const char* kCannotLink =
    "An attempt to create a symbolic link named %s failed (errno = %s)";

// Written under ProcessLock, read without it.
std::atomic<bool> linkEstablished = false;

std::string pathnameOf(JNIEnv* env, jstring privateTempDir) {
    const UtfChars characters(env, privateTempDir);
    if (characters.get() == nullptr) {
        throw OvWalletException(kNoTempDir);
    }
    return characters.get();
}

}  // namespace

void establishInstallationLink(JNIEnv* env, jstring privateTempDir) {
    if (linkEstablished) {
        return;
    }
    const ProcessLockGuard lock;
    // Another thread may have done it while this one waited.
    if (linkEstablished) {
        return;
    }
    const std::string tempDir = pathnameOf(env, privateTempDir);
    createLink(plannedLink(tempDir, findInstallation(kCommandLink, kPackageDatabase)));
    // Last: whatever failed before, the next call tries everything again.
    linkEstablished = true;
}

PlannedLink plannedLink(const std::string& tempDir, const std::string& installation) {
    return {tempDir + kWalletLink, installation + "/orvanta/client/ovwallet"};
}

std::string linkFailure(const PlannedLink& link, int errnum) {
    return formatMessage(kCannotLink, link.pathname.c_str(), errnoText(errnum).c_str());
}

void createLink(const PlannedLink& link) {
    if (::symlink(link.target.c_str(), link.pathname.c_str()) != 0) {
        const int errnum = errno;
        throw OvWalletException(linkFailure(link, errnum));
    }
}

}  // namespace Orvanta_OvWallet
