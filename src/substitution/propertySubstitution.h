// One credential property of one side: read from the job, expanded, written back.
#pragma once

#include <cstddef>
#include <string>

#include "session/WalletSession.h"
#include "substitution/JdbcUrl.h"

namespace Orvanta_OvWallet {

// Reads the property with the static method "get" + side + property of the plug-in configuration
// class, expands its wallet references, and writes the result with "set" + side + property, also
// when there was no reference. A property that is null is left alone. Bytes go in and out as they
// are, with no conversion of characters.
//
// Throws JavaLangThrowable when a Java exception is pending, what expandReferences throws, and
// OvWalletException "Array is too long for Java." or "Cannot allocate Java byte array." (a Java
// exception may then be pending, too). The property keeps its old value in each case, unless the
// setter itself failed half-way.
void substitute(const WalletSession& session, const std::string& side, const std::string& property,
                const JdbcUrlParts& url);

// A length as Java's arrays have it; throws OvWalletException "Array is too long for Java.".
jsize javaArrayLength(std::size_t size);

}  // namespace Orvanta_OvWallet
