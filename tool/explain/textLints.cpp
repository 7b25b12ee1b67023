#include "tool/explain/textLints.h"

#include <algorithm>
#include <string_view>

#include "tool/command/nearestWord.h"

namespace Orvanta_OvWallet::Tool {
namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr std::string_view kWord = "ovwallet";
constexpr std::string_view kDatabaseIdMacro = "$(ovpid)";

bool isWordByte(std::uint8_t byte) {
    return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') ||
           (byte >= '0' && byte <= '9') || byte == '_';
}

bool isNameByte(std::uint8_t byte) {
    return isWordByte(byte) || byte == '.' || byte == '-';
}

bool lies(std::size_t offset, const std::vector<ExplainedReference>& references) {
    return std::any_of(references.begin(), references.end(),
                       [offset](const ExplainedReference& reference) {
                           return reference.begin <= offset && offset < reference.end;
                       });
}

// Where the word begins that ends before this offset.
std::size_t wordBegin(Bytes text, std::size_t end) {
    std::size_t begin = end;
    while (begin > 0 && isWordByte(text[begin - 1])) {
        --begin;
    }
    return begin;
}

bool isNearMiss(Bytes word) {
    // A word that is longer or shorter by more than one byte takes more than one edit.
    if (word.size() + 1 < kWord.size() || word.size() > kWord.size() + 1) {
        return false;
    }
    std::string lower(word.begin(), word.end());
    std::transform(lower.begin(), lower.end(), lower.begin(), [](char byte) {
        return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte + ('a' - 'A')) : byte;
    });
    return editDistance(lower, kWord) <= 1;
}

// Whether "(" at this offset opens what could be the name of an entry.
bool opensName(Bytes text, std::size_t offset) {
    std::size_t end = offset + 1;
    while (end < text.size() && isNameByte(text[end])) {
        ++end;
    }
    return end > offset + 1 && end < text.size() && text[end] == ')';
}

void addMacroLints(Bytes text, const std::vector<ExplainedReference>& references,
                   std::vector<Lint>& lints) {
    for (auto at = text.begin();; ++at) {
        at = std::search(at, text.end(), kDatabaseIdMacro.begin(), kDatabaseIdMacro.end());
        if (at == text.end()) {
            return;
        }
        const auto offset = static_cast<std::size_t>(at - text.begin());
        if (!lies(offset, references)) {
            lints.push_back({"W4", offset, offset + kDatabaseIdMacro.size(),
                             "$(ovpid) means nothing outside of a name; it stays as it is."});
        }
    }
}

}  // namespace

void addTextLints(Bytes text, const std::vector<ExplainedReference>& references,
                  std::vector<Lint>& lints) {
    addMacroLints(text, references, lints);
    for (std::size_t offset = 0; offset < text.size(); ++offset) {
        if (text[offset] != '(' || lies(offset, references)) {
            continue;
        }
        const std::size_t begin = wordBegin(text, offset);
        const bool ofReference = begin > 0 && lies(begin - 1, references);
        if (!ofReference && !lies(begin, references) &&
            isNearMiss(text.subspan(begin, offset - begin))) {
            lints.push_back({"W2", begin, offset + 1,
                             "looks like a reference and is none: it begins with \"$ovwallet(\", "
                             "in lower case and without braces."});
        } else if (references.empty() && (offset == 0 || text[offset - 1] != '$') &&
                   opensName(text, offset)) {
            lints.push_back({"S1", offset, text.size(),
                             "looks like what a shell leaves of a reference in double quotes; "
                             "write it in single quotes."});
        }
    }
}

void addEndLints(Bytes text, std::vector<Lint>& lints) {
    if (!text.empty() && (text.back() == '\n' || text.back() == '\r')) {
        lints.push_back({"S2", text.size() - 1, text.size(),
                         "a line end is the last byte of the text, and belongs to it."});
    }
}

}  // namespace Orvanta_OvWallet::Tool
