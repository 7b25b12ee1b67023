#include "sandbox/store/SandboxDirectory.h"

#include <cstdlib>

#include "sandbox/store/Failure.h"
#include "sandbox/store/Files.h"
#include "sandbox/store/PercentCode.h"

namespace Orvanta_OvWallet::Sandbox {

std::string directoryFromEnvironment() {
    if (const char* const directory = std::getenv("OVWALLET_SANDBOX_HOME")) {
        if (*directory == '\0') {
            throw Failure(FailureCode::fileTrouble,
                          "OVWALLET_SANDBOX_HOME is set and empty; it has to name a directory.");
        }
        return directory;
    }
    const char* const home = std::getenv("HOME");
    if (home == nullptr || *home == '\0') {
        throw Failure(
            FailureCode::fileTrouble,
            "There is no directory for the wallet: neither OVWALLET_SANDBOX_HOME nor HOME "
            "is set.");
    }
    return std::string(home) + "/.ovwallet-sandbox";
}

void journalFetch(const std::string& directory, const std::string& name) {
    appendToFileIfPresent(directory + "/journal", "get " + percentEncode(name) + '\n');
}

}  // namespace Orvanta_OvWallet::Sandbox
