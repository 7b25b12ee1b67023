// A fresh directory for one test, removed with all that is in it.
#pragma once

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>

namespace Orvanta_OvWallet::Sandbox {

class TemporaryDirectory {
  public:
    TemporaryDirectory() {
        std::string pattern = std::filesystem::temp_directory_path() / "ovwallet-test-XXXXXX";
        if (::mkdtemp(pattern.data()) == nullptr) {
            throw std::runtime_error("cannot make a temporary directory");
        }
        pathname_ = pattern;
    }
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
    ~TemporaryDirectory() {
        std::error_code ignored;
        std::filesystem::remove_all(pathname_, ignored);
    }

    const std::string& pathname() const { return pathname_; }
    std::string operator/(std::string_view name) const {
        return pathname_ + '/' + std::string(name);
    }

  private:
    std::string pathname_;
};

inline void writeText(const std::string& pathname, std::string_view text) {
    std::ofstream file(pathname, std::ios::binary);
    file << text << std::flush;
    if (!file) {
        throw std::runtime_error("cannot write " + pathname);
    }
}

inline std::string readText(const std::string& pathname) {
    std::ifstream file(pathname, std::ios::binary);
    if (!file) {
        throw std::runtime_error("cannot read " + pathname);
    }
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

inline unsigned modeOf(const std::string& pathname) {
    return static_cast<unsigned>(std::filesystem::status(pathname).permissions());
}

inline std::string everyByte() {
    std::string bytes;
    for (int byte = 0; byte < 256; ++byte) {
        bytes += static_cast<char>(byte);
    }
    return bytes;
}

}  // namespace Orvanta_OvWallet::Sandbox
