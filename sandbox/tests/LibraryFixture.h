// A loaded client library with a wallet directory of its own.
#pragma once

#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "sandbox/store/Files.h"
#include "sandbox/tests/LoadedSandbox.h"
#include "sandbox/tests/TemporaryDirectory.h"

namespace Orvanta_OvWallet::Sandbox {

// Lets a standard stream of this process lead from or to a file while it lives.
class Redirection {
  public:
    Redirection(int standardStream, const std::string& pathname)
        : standardStream_(standardStream), original_(::dup(standardStream)) {
        const FileDescriptor file(::open(pathname.c_str(), O_RDWR | O_CREAT | O_APPEND, 0600));
        ::dup2(file.number(), standardStream);
    }
    Redirection(const Redirection&) = delete;
    Redirection& operator=(const Redirection&) = delete;
    ~Redirection() { ::dup2(original_.number(), standardStream_); }

  private:
    int standardStream_;
    FileDescriptor original_;
};

inline std::string platformDirectory(const std::string& base) {
    return base + "/orvanta/client/14.10/ovwallet/redhatlinux-x8664";
}

inline std::string libraryPathname(const std::string& base) {
    return platformDirectory(base) + "/libovwallet.so";
}

inline std::string variantBase(const std::string& name) {
    return std::string(OVWALLET_SANDBOX_VARIANTS) + '/' + name;
}

class LibraryFixture : public testing::Test {
  protected:
    LibraryFixture() { ::setenv("OVWALLET_SANDBOX_HOME", directory_.pathname().c_str(), 1); }
    ~LibraryFixture() override { ::unsetenv("OVWALLET_SANDBOX_HOME"); }

    // What the action writes to standard error.
    template <class Action>
    std::string complaintsOf(const Action& action) {
        const std::string file = directory_ / "stderr";
        writeText(file, "");
        {
            const Redirection redirection(STDERR_FILENO, file);
            action();
        }
        return readText(file);
    }

    const TemporaryDirectory directory_;
    const std::string pathname_ = libraryPathname(OVWALLET_SANDBOX_BASE);
};

template <class Text>
OpaqueArgument* opaque(Text* argument) {
    return reinterpret_cast<OpaqueArgument*>(argument);
}

// A text in memory that may be passed as an argument that is not const.
inline OpaqueArgument* opaqueText(const char* text) {
    return opaque(const_cast<char*>(text));
}

}  // namespace Orvanta_OvWallet::Sandbox
