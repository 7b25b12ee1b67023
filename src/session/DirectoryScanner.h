// Lists the entry names of one directory.
#pragma once

#include <set>
#include <string>

namespace Orvanta_OvWallet {

// Fills names with the name of every entry, "." and ".." included, in ascending byte order. Reading
// takes ProcessLock. Throws OvWalletException, or what formatMessage throws when a text of the
// message is not UTF-8: names is untouched when the directory cannot be opened, and empty when it
// cannot be read or the lock not be had. A directory stream that cannot be closed is no failure; it
// leaves a warning in the system log.
void DirectoryScanner(std::set<std::string>& names, const std::string& directory);

}  // namespace Orvanta_OvWallet
