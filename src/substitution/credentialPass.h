// One side of a job: its JDBC URL is read, then its user name and its password are read from the
// job, expanded and written back.
//
// Bytes go in and out as they are, with no conversion of characters.
#pragma once

#include <cstddef>

#include "session/WalletSession.h"
#include "substitution/JdbcUrl.h"

namespace Orvanta_OvWallet {

// The static methods of the plug-in configuration class that read and write one property.
struct PropertyMethods {
    const char* getter;
    const char* setter;
};

// A side of the job, as the names of its methods.
struct JobSide {
    const char* urlGetter;
    PropertyMethods userName;
    PropertyMethods password;
};

inline constexpr JobSide kInputSide{
    "getInputJdbcUrl",
    {"getInputOrvantaUserName", "setInputOrvantaUserName"},
    {"getInputOrvantaPassword", "setInputOrvantaPassword"},
};
inline constexpr JobSide kOutputSide{
    "getOutputJdbcUrl",
    {"getOutputOrvantaUserName", "setOutputOrvantaUserName"},
    {"getOutputOrvantaPassword", "setOutputOrvantaPassword"},
};

// The URL is only read; a null URL counts as an empty one. A failure of the user name leaves the
// password alone; the user name is written back before the password is looked at. Throws what
// substitute throws.
void runCredentialPass(const WalletSession& session, const JobSide& side);

// One property: read, expanded and written back, also when there was no reference. A property that
// is null is left alone.
//
// Throws JavaLangThrowable when a Java exception is pending, what expandReferences throws, and
// OvWalletException when Java has no room for the result (a Java exception may then be pending,
// too). The property keeps its old value in each case, unless the setter itself failed half-way.
void substitute(const WalletSession& session, const PropertyMethods& property,
                const JdbcUrlParts& url);

// A length as Java's arrays have it; throws OvWalletException for a longer one.
jsize javaArrayLength(std::size_t size);

}  // namespace Orvanta_OvWallet
