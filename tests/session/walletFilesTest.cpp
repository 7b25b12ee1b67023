#include "session/walletFiles.h"

#include <string>

#include <gtest/gtest.h>

#include "doubles/thrown.h"
#include "support/OvWalletException.h"

namespace Orvanta_OvWallet {
namespace {

TEST(WalletFiles, LieInTheDirectoryOfVersionAndPlatform) {
    EXPECT_EQ(clientFile("/opt/orvanta/client", kClientLibrary),
              "/opt/orvanta/client/14.10/ovwallet/redhatlinux-x8664/libovwallet.so");
    EXPECT_EQ(clientFile("", kHelperExecutable), "/14.10/ovwallet/redhatlinux-x8664/ovwhelper.exe");
}

TEST(WalletFiles, ThatAreMissingAreNamedWithTheVersion) {
    EXPECT_EQ(thrownBy<NotInstalledException>([] { throwNotInstalled("/opt/client"); }),
              "Orvanta Wallet 14.10 is not installed (cannot access \"/opt/client\")");
}

}  // namespace
}  // namespace Orvanta_OvWallet
