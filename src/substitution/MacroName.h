// The name inside a wallet reference, "$ovwallet(NAME)".
//
//   \) \$ \\        stand for the second byte alone; before any other byte a backslash is itself
//   $(ovpid)        stands for the database id; any other $(...) is an error, escapes mean nothing
//                   in it and it ends at the next ")"
//   $               before anything but "(" is itself
//   )               ends the name
//   any other byte  is itself, blanks and "(" included
//
// An entry name is no secret and is held in an ordinary string. It may hold any byte, but the
// wallet takes it up to its first NUL.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "substitution/ByteRange.h"

namespace Orvanta_OvWallet {

struct MacroName {
    const std::uint8_t* begin;  // behind the "("
    const std::uint8_t* end;    // just behind the closing ")"
    std::uint64_t size;         // of the entry name, in bytes
};

// text begins behind the "(" and runs to the end of the property. Returns nothing for a name that
// is never closed. Throws OvWalletException "Unsupported replacement macro, "$(...)", found in
// credential information." for an unsupported sub-macro, at once, closed name or not. Nothing
// else of the name is copied: what is never closed may be a part of a secret.
std::optional<MacroName> findMacroName(ByteRange text, ByteRange databaseId);

// The entry name. With many "$(ovpid)" it may be far longer than its text.
std::string entryNameOf(const MacroName& name, ByteRange databaseId);

}  // namespace Orvanta_OvWallet
