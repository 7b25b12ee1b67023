#include "tool/explain/explainPage.h"

#include "tool/output/printable.h"

namespace Orvanta_OvWallet::Tool {
namespace {

constexpr std::size_t kHeadIndent = 7;
constexpr std::size_t kPieceIndent = 24;
constexpr std::size_t kLintIndent = 4;

std::string count(std::size_t number, const char* what) {
    return std::to_string(number) + " " + what + (number == 1 ? "" : "s");
}

std::string rangeOf(std::size_t begin, std::size_t end) {
    std::string range = "[";
    range += std::to_string(begin);
    range += ',';
    range += std::to_string(end);
    range += ')';
    return range;
}

const char* shapeOf(ReferenceKind kind) {
    return kind == ReferenceKind::kNamed  ? "$ovwallet(...)"
           : kind == ReferenceKind::kBare ? "$ovwallet"
                                          : "$ovwallet(...";
}

void addReference(TextPage& page, const ExplainedReference& reference) {
    page.add(rangeOf(reference.begin, reference.end) + " " + shapeOf(reference.kind), kPieceIndent,
             "entry " + inQuotes(reference.entry));
    for (const ExplainedPiece& piece : reference.pieces) {
        const bool literal = piece.kind == NamePiece::Kind::kLiteral;
        const std::string label = literal ? inQuotes(piece.written) : printable(piece.written);
        page.add("       " + label, kPieceIndent, literal ? "as written" : inQuotes(piece.meaning));
    }
}

void addFetched(TextPage& page, const FetchedEntry& entry) {
    page.add("entry " + inQuotes(entry.entry), kPieceIndent,
             !entry.there            ? printable(entry.failure)
             : entry.holdsReferences ? "there; it holds further references"
                                     : "there",
             entry.there ? Colour::kGood : Colour::kBad);
}

std::string conclusion(const Explanation& explanation, bool fetched) {
    if (explanation.failure) {
        return "A job fails with: " + printable(*explanation.failure);
    }
    if (explanation.references.empty()) {
        return "There is no reference here; a job takes the text as it is.";
    }
    return fetched ? "Nothing here makes a job fail but what the wallet says above."
                   : "Nothing here makes a job fail, if the entry exists (--fetch asks the "
                     "wallet).";
}

}  // namespace

void addExplanation(TextPage& page, const Explanation& explanation, bool hasUrl,
                    const std::vector<FetchedEntry>& fetched) {
    page.add("URL", kHeadIndent,
             (hasUrl ? "database id " + inQuotes(explanation.databaseId) : "none") +
                 "; default entry " + printable(explanation.defaultEntry));
    page.add("Text", kHeadIndent,
             count(explanation.size, "byte") + ", " +
                 count(explanation.references.size(), "reference") + ", " +
                 count(explanation.kept, "byte") + " kept as they are");
    for (const ExplainedReference& reference : explanation.references) {
        addReference(page, reference);
    }
    for (const Lint& lint : explanation.lints) {
        const std::string where = lint.end > lint.begin ? rangeOf(lint.begin, lint.end) + " " : "";
        page.add(lint.name, kLintIndent, where + printable(lint.text),
                 lint.name == "E1" ? Colour::kBad : Colour::kWarning);
    }
    for (const FetchedEntry& entry : fetched) {
        addFetched(page, entry);
    }
    page.add("", 0, conclusion(explanation, !fetched.empty()));
}

}  // namespace Orvanta_OvWallet::Tool
