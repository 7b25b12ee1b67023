#include "tool/explain/Explanation.h"

#include <algorithm>
#include <exception>

#include "tool/explain/nameLints.h"
#include "tool/explain/textLints.h"
#include "tool/explain/urlLints.h"

namespace Orvanta_OvWallet::Tool {
namespace {

using Bytes = std::span<const std::uint8_t>;

std::string asString(Bytes bytes) {
    return {bytes.begin(), bytes.end()};
}

// Only for a name that is closed: of any other nothing may be copied.
std::vector<ExplainedPiece> piecesOf(Bytes name, Bytes databaseId) {
    std::vector<ExplainedPiece> pieces;
    walkName(name, databaseId, [&pieces](const NamePiece& piece) {
        pieces.push_back({piece.kind, asString(piece.written), asString(piece.meaning)});
    });
    return pieces;
}

ExplainedReference explain(const WalletReference& reference, const JdbcUrlParts& url) {
    ExplainedReference explained{
        reference.kind, reference.begin, reference.end, entryNameOf(reference, url), {}};
    if (reference.kind == ReferenceKind::kNamed) {
        explained.pieces = piecesOf(reference.name, url.databaseId);
    }
    return explained;
}

std::size_t bytesIn(const std::vector<ExplainedReference>& references) {
    std::size_t bytes = 0;
    for (const ExplainedReference& reference : references) {
        bytes += reference.end - reference.begin;
    }
    return bytes;
}

}  // namespace

Explanation explainText(Bytes text, std::optional<std::span<std::uint8_t>> url) {
    Explanation explanation;
    explanation.size = text.size();
    std::vector<Lint>& lints = explanation.lints;
    if (url) {
        // Parsing may edit the parameters, so they are looked at first.
        addUrlLints(*url, lints);
    }
    const JdbcUrlParts parts = url ? parseJdbcUrl(*url) : JdbcUrlParts{};
    explanation.databaseId = asString(parts.databaseId);
    explanation.defaultEntry = "com.orvanta." + asString(parts.logonMechanism);
    std::size_t from = 0;
    std::size_t readable = text.size();
    while (const std::optional<std::size_t> keyword = findKeyword(text, from)) {
        try {
            const WalletReference reference = readReference(text, *keyword, parts);
            explanation.references.push_back(explain(reference, parts));
            from = reference.end;
        } catch (const std::exception& failure) {
            // What comes after is never reached, and where the name ends cannot be told.
            explanation.failure = failure.what();
            lints.push_back({"E1", *keyword, text.size(), failure.what()});
            readable = *keyword;
            break;
        }
    }
    explanation.kept = text.size() - bytesIn(explanation.references);
    for (const ExplainedReference& reference : explanation.references) {
        addNameLints(reference, text, parts, lints);
    }
    addTextLints(text.first(readable), explanation.references, lints);
    addEndLints(text, lints);
    return explanation;
}

}  // namespace Orvanta_OvWallet::Tool
