// The absolute pathname of the current working directory, however long it is.
//
// Throws OvWalletException "Cannot determine the pathname of the current working directory
// (errno = TEXT)." (one line) when there is none to tell, say because it was removed.
#pragma once

#include <string>

namespace Orvanta_OvWallet {

std::string CurrentDirectory();

}  // namespace Orvanta_OvWallet
