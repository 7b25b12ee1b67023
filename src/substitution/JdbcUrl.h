// What the expansion of references needs to know of a side's JDBC URL.
//
//     jdbc:orvanta://DATABASE-ID/PARAMETERS
//
// Parsing never fails: a URL of any other form has an empty database id and the default logon
// mechanism. The prefix is compared byte for byte. Without a "/" behind the prefix the database id
// runs from the first blank to the last one (see parameterScan.h for what a blank is).
//
// Deliberate: a database id with "[" first and "]" right behind its end is shifted one byte to the
// right as a whole. No URL has one: behind the id stands a "/", or the id begins with a blank. An
// id that is itself in brackets keeps them.
#pragma once

#include <cstdint>
#include <span>

namespace Orvanta_OvWallet {

// The logon mechanism of a URL that names none: "OV2".
std::span<const std::uint8_t> defaultLogonMechanism();

struct JdbcUrlParts {
    std::span<const std::uint8_t> databaseId;
    std::span<const std::uint8_t> logonMechanism = defaultLogonMechanism();
};

// The spans point into url, or at constants; url lives as long as they are used. Parameter values
// may be edited in place.
JdbcUrlParts parseJdbcUrl(std::span<std::uint8_t> url);

// The rule on brackets, which is the last step of parsing. urlEnd is the end of the URL that the
// database id lies in.
std::span<const std::uint8_t> withBracketRule(std::span<const std::uint8_t> databaseId,
                                              const std::uint8_t* urlEnd);

}  // namespace Orvanta_OvWallet
