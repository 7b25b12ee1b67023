// The one-time installation set-up: the link through which the client library is found.
//
// The first successful call of a process finds the installation and creates, in the private
// temporary directory that the Java caller names, the symbolic link "ovwalletdir" to the wallet
// directory of the installation. The caller keeps this library's own file in the same directory,
// and InstallationLocator reads the link beside it. The link is never changed or removed
// afterwards, and later calls do nothing, even if the installation changed. A call that fails
// leaves the next one to try everything again.
#pragma once

#include <jni.h>

#include <string>

namespace Orvanta_OvWallet {

// Deliberate: the pathname is expected to end in "/" and nothing is put between it and the link's
// name, so without the "/" the link lies beside the directory instead of in it.
//
// Any thread may call; ProcessLock is held throughout, but for the test that finds the set-up done.
// Throws what findInstallation throws, and OvWalletException
//   Cannot retrieve the pathname to the private temporary directory.
//       (null, or the JVM could not tell it; a Java exception may then be pending)
//   An attempt to create a symbolic link named PATHNAME failed (errno = TEXT)
//       (also when something of that name is there already: nothing is removed)
void establishInstallationLink(JNIEnv* env, jstring privateTempDir);

// The same for any pair of places; returns nothing and remembers nothing.
void createInstallationLink(const std::string& tempDir, const std::string& commandLink,
                            const std::string& packageDatabase);

}  // namespace Orvanta_OvWallet
