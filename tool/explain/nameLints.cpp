#include "tool/explain/nameLints.h"

#include <algorithm>

#include "tool/output/printable.h"

namespace Orvanta_OvWallet::Tool {
namespace {

bool isLetterOrDigit(std::uint8_t byte) {
    return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') ||
           (byte >= '0' && byte <= '9');
}

bool isBlankByte(char byte) {
    return byte == ' ' || byte == '\t' || byte == '\r' || byte == '\n';
}

// What is odd about a name, in words that are put together to a list.
std::string oddities(const ExplainedReference& reference) {
    std::string found;
    const auto add = [&found](bool holds, const char* words) {
        if (holds) {
            found += (found.empty() ? "" : ", ") + std::string(words);
        }
    };
    const auto someLiteral = [&reference](char byte) {
        return std::any_of(reference.pieces.begin(), reference.pieces.end(),
                           [byte](const ExplainedPiece& piece) {
                               return piece.kind == NamePiece::Kind::kLiteral &&
                                      piece.written.find(byte) != std::string::npos;
                           });
    };
    const std::string& entry = reference.entry;
    add(!entry.empty() && (isBlankByte(entry.front()) || isBlankByte(entry.back())),
        "a blank at its edge, which belongs to it");
    add(someLiteral('('), "a \"(\", which does not nest");
    add(someLiteral('\\'), "a backslash that stays");
    add(entry.find('\0') != std::string::npos, "a NUL, where the wallet takes the name to end");
    return found;
}

void addLintsOfName(const ExplainedReference& reference, const JdbcUrlParts& url,
                    std::vector<Lint>& lints) {
    const std::size_t begin = reference.begin;
    const std::size_t end = reference.end;
    if (!isUtf8(reference.entry)) {
        lints.push_back({"E2", begin, end,
                         "the name is not UTF-8: if the entry is missing, a job is told only "
                         "\"Invalid UTF-8\" or the like."});
    }
    if (const std::string odd = oddities(reference); !odd.empty()) {
        lints.push_back({"W5", begin, end, "the name has " + odd + "."});
    }
    const bool asksForDatabaseId = std::any_of(
        reference.pieces.begin(), reference.pieces.end(),
        [](const ExplainedPiece& piece) { return piece.kind == NamePiece::Kind::kDatabaseId; });
    if (asksForDatabaseId && url.databaseId.empty()) {
        lints.push_back(
            {"U5", begin, end, "$(ovpid) stands for nothing: the database id is empty."});
    }
}

}  // namespace

void addNameLints(const ExplainedReference& reference, std::span<const std::uint8_t> text,
                  const JdbcUrlParts& url, std::vector<Lint>& lints) {
    const std::size_t begin = reference.begin;
    const std::size_t end = reference.end;
    switch (reference.kind) {
        case ReferenceKind::kNamed:
            addLintsOfName(reference, url, lints);
            break;
        case ReferenceKind::kBare:
            if (end < text.size() && isLetterOrDigit(text[end])) {
                lints.push_back({"W3", begin, end,
                                 "the keyword ends here, though a letter or digit follows; the "
                                 "entry " +
                                     inQuotes(reference.entry) +
                                     " is fetched and the rest stays."});
            }
            break;
        case ReferenceKind::kUnclosed:
            lints.push_back({"W1", begin, end,
                             "never closed: the entry " + inQuotes(reference.entry) +
                                 " is fetched for $ovwallet; the other " +
                                 std::to_string(text.size() - end) +
                                 " bytes (not shown) stay in the credential. The job goes on and "
                                 "logs in with that."});
            break;
    }
}

}  // namespace Orvanta_OvWallet::Tool
