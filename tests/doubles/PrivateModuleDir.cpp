#include "doubles/PrivateModuleDir.h"

#include <filesystem>

namespace fs = std::filesystem;

std::string privateModuleDir() {
    return fs::read_symlink("/proc/self/exe").parent_path().string() + "/";
}

void linkInstallation(const std::string& base) {
    const fs::path link = privateModuleDir() + "ovwalletdir";
    fs::remove(link);
    fs::create_symlink(base + "/orvanta/client/ovwallet", link);
}

std::string sandboxBase() {
    return SANDBOX_DIR "/base";
}

std::string sandboxVariant(const std::string& name) {
    return SANDBOX_DIR "/variants/" + name;
}
