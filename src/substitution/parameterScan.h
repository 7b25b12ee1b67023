// The parameters of a JDBC URL, searched for the logon mechanism.
//
// A blank here is a byte that is at most 32 when read as a signed number: 0x00 to 0x20 and, on
// purpose, every byte from 0x80 on, so each byte of a non-ASCII character is one. A parameter
// begins at a blank, and its key with that blank, so no key can equal "LOGMECH" and the logon
// mechanism that the caller starts with stands. The scan is kept exact for the day the blank rule
// changes.
//
// Positions are offsets from the beginning of the text. A search whose start lies behind its end
// finds nothing.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace Orvanta_OvWallet {

bool isBlank(std::uint8_t byte);

// Offset of the first blank in [from, to), or to.
std::size_t findBlank(std::span<const std::uint8_t> text, std::size_t from, std::size_t to);

// Offset just after the last blank in [from, to), or from.
std::size_t findBlankEnd(std::span<const std::uint8_t> text, std::size_t from, std::size_t to);

struct UrlParameter {
    std::size_t key;  // [key, keyEnd)
    std::size_t keyEnd;
    std::size_t value;  // [value, valueEnd), quotes included
    std::size_t valueEnd;
    std::size_t doubledQuote;  // the first doubled quote, or the end of the text scanned
    std::size_t next;          // where the next parameter is looked for
};

// The first parameter in [from, end), or nothing when there is none left to scan. end moves to just
// after the last blank in what is left: no parameter reaches beyond.
std::optional<UrlParameter> nextParameter(std::span<const std::uint8_t> text, std::size_t from,
                                          std::size_t& end);

// The logon mechanism among the parameters in text: the last value whose key begins with the
// letters "LOGMECH" in any case, or otherwise the initial one. Quotes of such a value are edited in
// place; the result points into text, or is the initial one.
std::span<const std::uint8_t> scanLogonMechanism(std::span<std::uint8_t> text,
                                                 std::span<const std::uint8_t> initial);

// Takes one parameter into account: what scanLogonMechanism does with each.
void applyParameter(std::span<std::uint8_t> text, const UrlParameter& parameter,
                    std::span<const std::uint8_t>& logonMechanism);

}  // namespace Orvanta_OvWallet
