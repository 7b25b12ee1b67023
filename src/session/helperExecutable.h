// The checks on the wallet's helper executable, "ovwhelper.exe".
//
// A process whose effective user differs from its real user acts with somebody's borrowed rights.
// It may load the client library only from an installation whose helper executable shows that an
// administrator, or the effective user, set it up: a set-user-ID program of root or of that user,
// executable by everyone, really lying below the client directory.
#pragma once

#include <string>

#include "session/pathnames.h"

namespace Orvanta_OvWallet {

// Whether the checks are needed: the effective user differs from the real one.
bool actsForAnotherUser();

// Returns an empty message, or one of these (HELPER is the canonical pathname; two have no blank
// after "errno ="):
//   Cannot resolve pathname "PATHNAME" (errno =TEXT)
//   Cannot get file status for "HELPER" (errno =TEXT)
//   The owner of the "HELPER" file is not as expected.
//   "HELPER" is not a regular file.
//   "HELPER" does not have the set-user-ID on execution bit set.
//   "HELPER" does not have the execute by owner bit set.      (likewise group, others)
//   The helper executable (which is located at "HELPER") is not located in a subdirectory of the
//   client directory (which is "DIRECTORY").                  (one line)
// Throws NotInstalledException when the directory or the helper is not there at all:
//   Orvanta Wallet is not installed (cannot access "DIRECTORY")
//   Orvanta Wallet 14.10 is not installed (cannot access "PATHNAME")
std::string checkHelperExecutable(const CanonicalPath& clientDir);

}  // namespace Orvanta_OvWallet
