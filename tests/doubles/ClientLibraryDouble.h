// A client library that only notes what is done to it.
//
// While it lives, the dynamic loader's functions lead to it: the library "opens", each entry point
// resolves to a function that notes its name and arguments, and ProcessLock's first lock and last
// unlock are noted between them. All in one list, so a test compares whole sequences:
//
//     lock
//     dlopen /14.10/ovwallet/redhatlinux-x8664/libovwallet.so
//     call OvWallet_freeV1(0x1)
//     unlock
//
// One at a time, in a process of its own: nothing is put back, but for dlopen and its kin.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "doubles/ProcessLockDouble.h"
#include "wallet/WalletTypes.h"

class ClientLibraryDouble {
  public:
    ClientLibraryDouble();
    ~ClientLibraryDouble();
    ClientLibraryDouble(const ClientLibraryDouble&) = delete;
    ClientLibraryDouble& operator=(const ClientLibraryDouble&) = delete;

    // The pathname under which the library is opened.
    static constexpr const char* kPath = "/14.10/ovwallet/redhatlinux-x8664/libovwallet.so";
    static void* handle();

    // Everything that happened since the last time this was asked, in order. Finding entry points
    // is left out here and listed in resolved().
    std::vector<std::string> takeEvents();
    const std::vector<std::string>& resolved() const { return resolved_; }
    void note(const std::string& event) { events_.push_back(event); }

    // What the entry points return, by kind.
    Orvanta_OvWallet::WalletError* error = nullptr;
    const char* text = nullptr;
    std::uint8_t* bytes = nullptr;
    std::int32_t code = 0;
    std::uint32_t size = 0;

    // Called by every entry point after it was noted, may throw.
    std::function<void(const std::string& entryPoint)> onCall;

    int openFailures = 0;        // how many of the next opens fail
    int closeFailures = 0;       // and closes
    std::string missing;         // the entry point that is not found
    const char* reason = "why";  // the dynamic loader's text, or null

    ProcessLockDouble lock;

    // For the entry points themselves.
    static ClientLibraryDouble& current();
    void called(const std::string& entryPoint, const std::vector<std::uint64_t>& arguments);

  private:
    void replaceLoader();

    std::vector<std::string> events_;
    std::vector<std::string> resolved_;
};
