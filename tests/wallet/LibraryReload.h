// The client library opened by the code under test alone, so that it is closed, and unmapped, as
// soon as that gives it up. Its ledger, a file, outlives it; its own command does what is asked of
// it.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <map>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "doubles/ChildProcess.h"
#include "doubles/PrivateModuleDir.h"
#include "doubles/TemporaryDirectory.h"
#include "wallet/WalletFunctionPointers.h"

namespace Orvanta_OvWallet {

class LibraryReload : public ::testing::Test {
  protected:
    LibraryReload() {
        ::setenv("OVWALLET_SANDBOX_HOME", home_.pathname().c_str(), 1);
        writeFile(home_ / "strings", "name\tvalue\n");
        runCommand("ledger start");
        linkInstallation(sandboxBase());
    }

    std::string runCommand(const std::string& arguments) {
        return outputOf(sandboxBase() +
                        "/orvanta/client/14.10/ovwallet/redhatlinux-x8664/ovwallet " + arguments);
    }

    // The ledger by name.
    std::map<std::string, std::int64_t> ledger() {
        std::istringstream lines(runCommand("ledger show"));
        std::map<std::string, std::int64_t> counters;
        std::string name;
        for (std::int64_t value = 0; lines >> name >> value;) {
            counters[name] = value;
        }
        return counters;
    }

    // Nothing is alive, nothing was misused, and the library is closed.
    void expectAllGivenBack() {
        const auto counters = ledger();
        for (const char* const name :
             {"live.wallets", "live.locked_vectors", "live.vectors", "live.name_lists",
              "live.errors", "bad_frees", "bad_uses", "leaks"}) {
            EXPECT_EQ(counters.at(name), 0) << name;
        }
        EXPECT_EQ(counters.at("loads"), counters.at("unloads"));
        EXPECT_TRUE(PrivateStuff::walletFunctions().useCount().isZero());
    }

    TemporaryDirectory home_;
};

}  // namespace Orvanta_OvWallet
