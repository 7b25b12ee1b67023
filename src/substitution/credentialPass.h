// One side of a job: its JDBC URL read, its user name and then its password expanded.
#pragma once

#include <string>

#include "session/WalletSession.h"

namespace Orvanta_OvWallet {

// side is "Input" or "Output". The URL comes from the static method "get" + side + "JdbcUrl" of the
// plug-in configuration class and is only read; a null URL counts as an empty one. A failure of the
// user name leaves the password alone; the user name is written back before the password is looked
// at.
//
// Throws JavaLangThrowable when a Java exception is pending, and what substitute throws.
void runCredentialPass(const WalletSession& session, const std::string& side);

}  // namespace Orvanta_OvWallet
