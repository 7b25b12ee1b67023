// Lists the entry names of one directory.
#pragma once

#include <set>
#include <string>

namespace Orvanta_OvWallet {

// Fills names with the name of every entry, "." and ".." included, in ascending byte order. Reading
// takes ProcessLock. A directory stream that cannot be closed is no failure; it leaves a warning in
// the system log.
//
// Throws OvWalletException, or what formatMessage throws when a text of the message is not UTF-8.
// names is untouched then when the directory could not be opened, and empty otherwise.
void DirectoryScanner(std::set<std::string>& names, const std::string& directory);

}  // namespace Orvanta_OvWallet
