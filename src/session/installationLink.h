// The one-time installation set-up: the link through which the client library is found.
//
// The first successful call of a process finds the installation and creates, in the private
// temporary directory that the Java caller names, the symbolic link "ovwalletdir" to the wallet
// directory of the installation. The caller keeps this library's own file in the same directory,
// and InstallationLocator reads the link beside it. The link is never changed or removed
// afterwards, and later calls do nothing, even if the installation changed. A call that fails
// leaves it to the next one to try everything again.
#pragma once

#include <jni.h>

#include <string>

namespace Orvanta_OvWallet {

// Any thread may call; ProcessLock is held throughout, but for the test that finds the set-up done.
// Throws what findInstallation and createLink throw, and OvWalletException when privateTempDir is
// null or the JVM could not tell it; a Java exception may then be pending.
void establishInstallationLink(JNIEnv* env, jstring privateTempDir);

struct PlannedLink {
    std::string pathname;
    std::string target;  // the wallet directory
};

// The link that a job with this private temporary directory makes to this installation.
//
// Deliberate: the directory is expected to end in "/" and nothing is put between it and the link's
// name, so without the "/" the link lies beside the directory instead of in it.
PlannedLink plannedLink(const std::string& tempDir, const std::string& installation);

// Why the link could not be made.
std::string linkFailure(const PlannedLink& link, int errnum);

// Throws OvWalletException with linkFailure, also when something of that name is there already:
// nothing is removed. When the pathname is not UTF-8, which the JVM's form of a character beyond
// the basic plane is not, it throws what formatMessage throws.
void createLink(const PlannedLink& link);

}  // namespace Orvanta_OvWallet
