// Finds the directory below which the OvWallet software is installed.
#pragma once

#include <string>

namespace Orvanta_OvWallet {

// Where the operating system keeps what leads to the installation.
inline constexpr const char* kCommandLink = "/usr/bin/ovwallet";
inline constexpr const char* kPackageDatabase = "/var/lib/rpm";

// Whether an entry of the package database with this name is a record of the OvWallet software:
// "ovwallet" and any number of digits. Deliberate: without any digit it is one, too.
bool isPackageRecord(const std::string& name);

struct PackageRecord {
    enum class State {
        counts,            // base is the installation
        hasNoFirstLine,    // "inst.dir" cannot be read, or begins with a newline, or is empty
        namesNoDirectory,  // base is no existing directory
    };
    State state;
    std::string base;  // the first line of "inst.dir", exactly as it stands
};

// Reads the record in the directory with this pathname.
PackageRecord readPackageRecord(const std::string& pathname);

// Follows the links of the command link to the command's file; the installation is five levels
// above the file's directory. Without a command link, takes the first package record that counts,
// in ascending order of the bytes of their names. Version numbers are not compared.
//
// Throws OvWalletException, deliberately not NotInstalledException, when neither leads to one, and
// what DirectoryScanner throws, also when there is no package database at all.
//
// Deliberate: any number of links is followed, so links in a cycle keep the caller here for ever.
std::string findInstallation(const std::string& commandLink, const std::string& packageDatabase);

}  // namespace Orvanta_OvWallet
