// What the expansion of references needs to know of a side's JDBC URL.
//
//     jdbc:orvanta://DATABASE-ID/PARAMETERS
//
// Parsing never fails: a URL of any other form has an empty database id and the default logon
// mechanism. The prefix is compared byte for byte. Without a "/" after the prefix the database id
// runs from the first blank to the last one.
//
// A blank is a byte that is at most 32 when read as a signed number: 0x00 to 0x20 and, on purpose,
// every byte from 0x80 on, so each byte of a non-ASCII character is one. A parameter begins at a
// blank, and its key with that blank, so no key can equal "LOGMECH" and the default logon mechanism
// always stands. The parameters are scanned exactly all the same, for the day the blank rule
// changes; what that takes is declared here to be tested.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

namespace Orvanta_OvWallet {

// The logon mechanism of a URL that names none: "OV2".
std::span<const std::uint8_t> defaultLogonMechanism();

struct JdbcUrlParts {
    std::span<const std::uint8_t> databaseId;
    std::span<const std::uint8_t> logonMechanism = defaultLogonMechanism();
};

// The parts point into url, or at constants; url lives as long as they are used. Quotes of a
// parameter's value may be edited in place.
JdbcUrlParts parseJdbcUrl(std::span<std::uint8_t> url);

// The last step of parsing. urlEnd is the end of the URL that the database id lies in.
//
// Deliberate: a database id with "[" first and "]" right after its end is shifted one byte to the
// right as a whole. No URL has one: after the id stands a "/", or the id begins with a blank. An id
// that is itself in brackets keeps them.
std::span<const std::uint8_t> withBracketRule(std::span<const std::uint8_t> databaseId,
                                              const std::uint8_t* urlEnd);

struct UrlParameter {
    std::span<const std::uint8_t> key;
    std::span<std::uint8_t> value;  // quotes included
    bool hasDoubledQuote;           // whether one begins in the value
};

// Walks along the parameters of a URL.
class UrlParameterScan {
  public:
    explicit UrlParameterScan(std::span<std::uint8_t> text) : text_(text), end_(text.size()) {}

    // The next parameter, or nothing when there is none left to scan.
    std::optional<UrlParameter> next();

  private:
    std::span<std::uint8_t> text_;
    std::size_t position_ = 0;
    std::size_t end_;
};

// What a parameter does to the logon mechanism: one whose key begins with the letters "LOGMECH" in
// any case replaces it by its value, with the quotes edited in place.
void applyParameter(const UrlParameter& parameter, std::span<const std::uint8_t>& logonMechanism);

}  // namespace Orvanta_OvWallet
