// What an ELF file says of itself, read without loading it. The file is not trusted: every offset
// and size in it is checked before it is used.
#pragma once

#include <set>
#include <string>

namespace Orvanta_OvWallet::Tool {

struct ElfFile {
    std::string problem;  // why it is no shared library for this machine; empty if it is one
    bool hasSymbolTable = false;
    std::set<std::string> exports;  // names that are defined in it, for others to find
    std::string buildId;            // in hexadecimal; empty without one
    std::string version;            // of the note named "WalletCaller"; empty without one
};

ElfFile readElfFile(const std::string& pathname);

}  // namespace Orvanta_OvWallet::Tool
