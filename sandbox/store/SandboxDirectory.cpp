#include "sandbox/store/SandboxDirectory.h"

#include <cstdlib>

#include "sandbox/store/Failure.h"
#include "sandbox/store/Files.h"
#include "sandbox/store/PercentCode.h"

namespace Orvanta_OvWallet::Sandbox {

namespace {

std::string environmentValue(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? std::string() : std::string(value);
}

}  // namespace

std::string directoryFromEnvironment() {
    std::string directory = environmentValue("OVWALLET_SANDBOX_HOME");
    if (!directory.empty()) {
        return directory;
    }
    const std::string home = environmentValue("HOME");
    if (home.empty()) {
        throw Failure(
            FailureCode::fileTrouble,
            "There is no directory for the wallet: neither OVWALLET_SANDBOX_HOME nor HOME "
            "is set.");
    }
    return home + "/.ovwallet-sandbox";
}

void journalFetch(const std::string& directory, const std::string& name) {
    appendToFileIfPresent(directory + "/journal", "get " + percentEncode(name) + '\n');
}

}  // namespace Orvanta_OvWallet::Sandbox
