// Finds and reads the wallet references in a text: which bytes they take, and which entry they ask
// for. The text is only looked at.
//
//   $ovwallet(NAME)     named: asks for the entry NAME
//   $ovwallet           bare: asks for "com.orvanta." + logon mechanism
//   $ovwallet(...       unclosed: the name does not end before the text does. Asks for what a bare
//                       one asks for; the keyword alone belongs to it
//
// The name:
//
//   \) \$ \\            stand for the second byte alone; before any other byte a backslash is
//                       itself
//   $(ovpid)            stands for the database id; any other $(...) is an error, escapes mean
//                       nothing in it and it ends at the next ")"
//   $                   before anything but "(" is itself
//   )                   ends the name
//   any other byte      is itself, blanks and "(" included
//
// An entry name is no secret and is held in an ordinary string. It may hold any byte, but the
// wallet takes it up to its first NUL. What follows the "(" of an unclosed reference may be the
// rest of a password: nothing of it is copied.
//
// Spans point into the text or the URL's parts and live as long as those. Positions are offsets
// from the beginning of the text.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>

#include "substitution/JdbcUrl.h"

namespace Orvanta_OvWallet {

enum class ReferenceKind { kNamed, kBare, kUnclosed };

struct WalletReference {
    ReferenceKind kind;
    std::size_t begin;  // [begin, end) is what a value replaces
    std::size_t end;

    // Of a named one: the name as written, with the ")" that ends it, and the size of the entry
    // name that it makes. Empty and 0 otherwise.
    std::span<const std::uint8_t> name;
    std::uint64_t entryNameSize;
};

// Offset of the first keyword at or after from, or nothing.
std::optional<std::size_t> findKeyword(std::span<const std::uint8_t> text, std::size_t from);

// The reference whose keyword begins at this offset. Throws OvWalletException for any macro but
// "$(ovpid)", also in a name that is not closed after it.
WalletReference readReference(std::span<const std::uint8_t> text, std::size_t keyword,
                              const JdbcUrlParts& url);

// The entry that a reference asks for. With many "$(ovpid)" it may be far longer than its text.
std::string entryNameOf(const WalletReference& reference, const JdbcUrlParts& url);

// A part of a name, as long as it can be: bytes that stand for themselves, one escape, one macro.
struct NamePiece {
    enum class Kind { kLiteral, kEscape, kDatabaseId };

    Kind kind;
    std::span<const std::uint8_t> written;
    std::span<const std::uint8_t> meaning;
};

// Shows the visitor each piece of the name that text begins with, up to the ")" that ends it.
// Returns the size of what was walked, ")" included, or nothing when the text ends first; the
// visitor has then seen pieces of what is no name. Throws as readReference does.
std::optional<std::size_t> walkName(std::span<const std::uint8_t> text,
                                    std::span<const std::uint8_t> databaseId,
                                    const std::function<void(const NamePiece&)>& visit);

}  // namespace Orvanta_OvWallet
