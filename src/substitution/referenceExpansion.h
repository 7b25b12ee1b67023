// Replaces every wallet reference in a text by the string that the wallet keeps under its name.
//
// Theory of operation. The text is searched for references (see walletReference.h) from left to
// right. After a replacement the search goes on after the inserted value; when nothing more is
// found it starts again from the beginning, until a whole pass finds nothing. So fetched values are
// expanded too, and so is a keyword that a value completes together with its surroundings.
//
// The first pass meets what the user wrote and expands all of it. What later passes meet came out
// of fetched values. After 10,000 replacements of that kind, or when the texts that they were made
// in and the names in them add up to more than 4 GiB, the references are taken to lead back to
// themselves. A name can be far longer than its text, so it is counted before it is made.
//
// Secret bytes go from the wallet's locked vector straight into the locked text. The lock is not
// held.
#pragma once

#include "securemem/SecureByteVector.h"
#include "substitution/JdbcUrl.h"
#include "wallet/WalletTypes.h"

namespace Orvanta_OvWallet {

// The template of the failure to get a value.
inline constexpr const char* kCannotGetValue =
    "Attempt to get value from Orvanta Wallet failed because: %s";

// Throws OvWalletException when a value is not to be had, when a macro is unsupported, when the
// references lead back to themselves, and with the client library's own message when that throws on
// being asked for a value's bytes. What freeing a value throws (see WalletApi.h) and what the
// text's insert throws leave as they are. The text is then of no use. Every fetched value has been
// freed, unless freeing it was what failed.
void expandReferences(SecureByteVector& text, Wallet* wallet, const JdbcUrlParts& url);

}  // namespace Orvanta_OvWallet
