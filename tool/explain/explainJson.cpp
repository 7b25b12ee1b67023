#include "tool/explain/explainJson.h"

#include "securemem/SecureByteVector.h"
#include "support/OvWalletException.h"
#include "tool/explain/readText.h"
#include "tool/output/base64.h"
#include "tool/output/json.h"

namespace Orvanta_OvWallet::Tool {
namespace {

const char* nameOf(ReferenceKind kind) {
    return kind == ReferenceKind::kNamed  ? "named"
           : kind == ReferenceKind::kBare ? "bare"
                                          : "unclosed";
}

const char* nameOf(NamePiece::Kind kind) {
    return kind == NamePiece::Kind::kLiteral  ? "literal"
           : kind == NamePiece::Kind::kEscape ? "escape"
                                              : "databaseId";
}

Json referenceJson(const ExplainedReference& reference) {
    return {{"begin", reference.begin},
            {"end", reference.end},
            {"kind", nameOf(reference.kind)},
            {"entry", toBase64(reference.entry)}};
}

Json failureJson(const Explanation& explanation) {
    return explanation.failure ? Json(*explanation.failure) : Json(nullptr);
}

std::string bytesOf(const Json& line, const char* key) {
    const Json value = line.value(key, Json());
    std::optional<std::string> bytes;
    if (value.is_string()) {
        bytes = fromBase64(value.get<std::string>());
    }
    if (!bytes) {
        throw OvWalletException(std::string("\"") + key + "\" of a line is no base64.");
    }
    return *bytes;
}

}  // namespace

std::string explanationJson(const Explanation& explanation,
                            const std::vector<FetchedEntry>& fetched) {
    Json json{{"tool", "walletcaller"},
              {"version", WALLETCALLER_VERSION},
              {"schema", 1},
              {"databaseId", toBase64(explanation.databaseId)},
              {"defaultEntry", toBase64(explanation.defaultEntry)},
              {"size", explanation.size},
              {"references", Json::array()},
              {"failure", failureJson(explanation)},
              {"lints", Json::array()},
              {"fetched", Json::array()}};
    for (const ExplainedReference& reference : explanation.references) {
        Json row = referenceJson(reference);
        row["pieces"] = Json::array();
        for (const ExplainedPiece& piece : reference.pieces) {
            row["pieces"].push_back({{"kind", nameOf(piece.kind)},
                                     {"written", toBase64(piece.written)},
                                     {"meaning", toBase64(piece.meaning)}});
        }
        json["references"].push_back(std::move(row));
    }
    for (const Lint& lint : explanation.lints) {
        json["lints"].push_back(
            {{"name", lint.name}, {"begin", lint.begin}, {"end", lint.end}, {"text", lint.text}});
    }
    for (const FetchedEntry& entry : fetched) {
        json["fetched"].push_back({{"entry", toBase64(entry.entry)},
                                   {"there", entry.there},
                                   {"holdsReferences", entry.holdsReferences},
                                   {"failure", entry.there ? Json(nullptr) : Json(entry.failure)}});
    }
    return toLine(json);
}

std::string answerToBatchLine(const std::string& line) {
    const Json asked = Json::parse(line, nullptr, false);
    if (!asked.is_object()) {
        throw OvWalletException("A line of the batch is no JSON object.");
    }
    const std::unique_ptr<SecureByteVector> text = copyOf(bytesOf(asked, "text"));
    const bool hasUrl = asked.contains("url") && !asked["url"].is_null();
    const std::unique_ptr<SecureByteVector> url =
        copyOf(hasUrl ? bytesOf(asked, "url") : std::string());
    const Explanation explanation =
        explainText({text->begin(), text->size()},
                    hasUrl ? std::optional(std::span(url->begin(), url->size())) : std::nullopt);
    Json answer{{"references", Json::array()},
                {"failure", failureJson(explanation)},
                {"lints", Json::array()}};
    for (const ExplainedReference& reference : explanation.references) {
        answer["references"].push_back(referenceJson(reference));
    }
    for (const Lint& lint : explanation.lints) {
        answer["lints"].push_back(lint.name);
    }
    return toLine(answer);
}

}  // namespace Orvanta_OvWallet::Tool
