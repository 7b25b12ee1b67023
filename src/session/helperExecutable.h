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

// Returns an empty message, or the first thing that is not as it should be, as a whole sentence for
// the user. Throws NotInstalledException when the directory or the helper is not there at all, or
// what formatMessage throws when their pathname is not UTF-8.
std::string checkHelperExecutable(const CanonicalPath& clientDir);

}  // namespace Orvanta_OvWallet
