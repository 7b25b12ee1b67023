// A fresh directory for one test, removed with all that is in it.
#pragma once

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>

class TemporaryDirectory {
  public:
    TemporaryDirectory() {
        std::string pattern = std::filesystem::temp_directory_path() / "walletcaller-test-XXXXXX";
        if (::mkdtemp(pattern.data()) == nullptr) {
            throw std::runtime_error("cannot make a temporary directory");
        }
        pathname_ = std::filesystem::canonical(pattern);
    }
    ~TemporaryDirectory() {
        std::error_code ignored;
        std::filesystem::remove_all(pathname_, ignored);
    }
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    // Canonical, without a "/" at its end.
    const std::string& pathname() const { return pathname_; }
    std::string operator/(std::string_view name) const {
        return pathname_ + '/' + std::string(name);
    }

  private:
    std::string pathname_;
};

// Makes the file, and the directories that lead to it.
inline void writeFile(const std::string& pathname, std::string_view content) {
    std::filesystem::create_directories(std::filesystem::path(pathname).parent_path());
    std::ofstream file(pathname, std::ios::binary);
    file << content << std::flush;
    if (!file) {
        throw std::runtime_error("cannot write " + pathname);
    }
}
