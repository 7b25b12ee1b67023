// The sandbox wallet's client library in this process, with strings of one test.
//
// The library is opened by its file, not through the code under test, and stays open, so that its
// control functions can be asked at any time; the code under test opens the same file when it finds
// it (linkInstallation, or the set-up of a whole call with redirectInstallation). Strings go to a
// fresh directory; a wallet knows those that were there when it was made.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "doubles/TemporaryDirectory.h"
#include "sandbox/OvWalletSandbox.h"

class SandboxWallet {
  public:
    SandboxWallet();
    ~SandboxWallet();
    SandboxWallet(const SandboxWallet&) = delete;
    SandboxWallet& operator=(const SandboxWallet&) = delete;

    void add(const std::string& name, const std::string& value);

    // The names asked for since this was called last, in order, percent-encoded where they hold
    // anything but letters, digits, ".", "_" and "-".
    std::vector<std::string> takeAsked();

    // As the control functions of the same names do.
    std::int64_t counter(const std::string& name) const { return counter_(name.c_str()); }
    void failCall(const std::string& entry, std::uint64_t k, const std::string& text);
    void throwFromCalls(const std::string& entry, std::uint32_t kind);

    // Whatever is alive or was misused, and whether the code under test still uses the library, in
    // words; "" when there is nothing of the kind.
    std::string held() const;

    // The set-up of a whole call finds the sandbox installation in the place of the machine's.
    static void redirectInstallation();

  private:
    TemporaryDirectory directory_;
    void* library_;
    decltype(&Orvanta_OvWallet::OvWalletSandbox_counter) counter_ = nullptr;
};
