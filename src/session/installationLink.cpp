#include "session/installationLink.h"

#include <unistd.h>

#include <atomic>
#include <cerrno>

#include "jni/UtfChars.h"
#include "session/installationSearch.h"
#include "support/OvWalletException.h"
#include "support/errnoText.h"
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
    if (linkEstablished) {
        return;
    }
    createInstallationLink(pathnameOf(env, privateTempDir), kCommandLink, kPackageDatabase);
    linkEstablished = true;
}

void createInstallationLink(const std::string& tempDir, const std::string& commandLink,
                            const std::string& packageDatabase) {
    const std::string clientDir =
        findInstallation(commandLink, packageDatabase) + "/orvanta/client";
    const std::string linkName = tempDir + "ovwalletdir";
    const std::string target = clientDir + "/ovwallet";
    if (::symlink(target.c_str(), linkName.c_str()) != 0) {
        const int errnum = errno;
        throw OvWalletException(
            formatMessage(kCannotLink, linkName.c_str(), errnoText(errnum).c_str()));
    }
}

}  // namespace Orvanta_OvWallet
