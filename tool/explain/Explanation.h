// What the references in one text mean: what a job would ask the wallet for, in which order, and
// what looks like a mistake.
//
// References are found and read by the library's own functions, so the entries, their order and the
// text of a failure are what a job meets. Nothing of the text itself is kept but the names of
// references that are closed; an explanation may be shown to anybody who may know entry names.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "substitution/JdbcUrl.h"
#include "substitution/walletReference.h"

namespace Orvanta_OvWallet::Tool {

struct ExplainedPiece {
    NamePiece::Kind kind;
    std::string written;
    std::string meaning;
};

struct ExplainedReference {
    ReferenceKind kind;
    std::size_t begin;  // [begin, end) is what a value replaces
    std::size_t end;
    std::string entry;
    std::vector<ExplainedPiece> pieces;  // empty unless named
};

// Something that looks like a mistake: a name such as "W1", what it is about, a sentence.
struct Lint {
    std::string name;
    std::size_t begin = 0;  // [begin, end) of the text; empty where it is about the URL
    std::size_t end = 0;
    std::string text;
};

struct Explanation {
    std::size_t size = 0;  // of the text, in bytes
    std::size_t kept = 0;  // bytes outside of references
    std::string databaseId;
    std::string defaultEntry;
    std::vector<ExplainedReference> references;  // up to the first that fails
    std::optional<std::string> failure;  // what a job would be told, whatever the wallet has
    std::vector<Lint> lints;
};

// url is the URL of the text's side, or nothing if it has none; it may be edited in place.
Explanation explainText(std::span<const std::uint8_t> text,
                        std::optional<std::span<std::uint8_t>> url);

}  // namespace Orvanta_OvWallet::Tool
