// Lists the entry names of one directory.
#pragma once

#include <set>
#include <string>

namespace Orvanta_OvWallet {

// Fills names with the name of every entry, "." and ".." included, in ascending byte order. Reading
// takes ProcessLock. Throws OvWalletException:
//   Cannot open directory "DIRECTORY" (errno = TEXT)             names is untouched
//   An attempt to read a directory failed (errno = TEXT)         names is empty
//   Cannot lock mutex (errno = TEXT).                            names is empty
// A directory stream that cannot be closed is no failure; it leaves the warning
// "An attempt to close a directory stream failed (errno = TEXT)." in the system log.
void DirectoryScanner(std::set<std::string>& names, const std::string& directory);

}  // namespace Orvanta_OvWallet
