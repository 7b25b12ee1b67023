// The job that doctor speaks of.
#pragma once

#include <optional>
#include <string>

namespace Orvanta_OvWallet::Tool {

inline constexpr const char* kLibraryName = "libWalletCaller-redhatlinux-x8664.so";

struct Subject {
    // The name of the private directory exactly as the job passes it; nothing when that is not
    // known, and then a fresh directory below temporaryDirectory is meant.
    std::optional<std::string> directory;
    std::string temporaryDirectory;

    // The library's file that the job loads, or that it copies into a fresh directory.
    std::string library;
};

// The library's file beside this program: in its directory, or where the packages put it.
std::string libraryBesideProgram();

}  // namespace Orvanta_OvWallet::Tool
