#include "substitution/walletReference.h"

#include <algorithm>
#include <string_view>

#include "support/OvWalletException.h"
#include "support/formatMessage.h"

namespace Orvanta_OvWallet {
namespace {

constexpr const char* kUnsupportedMacro =
    "Unsupported replacement macro, \"%s\", found in credential information.";

constexpr std::string_view kKeyword = "$ovwallet";
constexpr std::string_view kDatabaseIdMacro = "$(ovpid)";
constexpr std::string_view kDefaultEntryPrefix = "com.orvanta.";

bool beginsWithEscape(std::span<const std::uint8_t> text) {
    return text.size() > 1 && text[0] == '\\' &&
           (text[1] == ')' || text[1] == '$' || text[1] == '\\');
}

bool beginsWithMacro(std::span<const std::uint8_t> text) {
    return text.size() > 1 && text[0] == '$' && text[1] == '(';
}

void checkMacro(std::span<const std::uint8_t> macro) {
    if (!std::equal(macro.begin(), macro.end(), kDatabaseIdMacro.begin(), kDatabaseIdMacro.end())) {
        const std::string text(macro.begin(), macro.end());
        throw OvWalletException(formatMessage(kUnsupportedMacro, text.c_str()));
    }
}

}  // namespace

std::optional<std::size_t> walkName(std::span<const std::uint8_t> text,
                                    std::span<const std::uint8_t> databaseId,
                                    const std::function<void(const NamePiece&)>& visit) {
    std::size_t literal = 0;
    std::size_t position = 0;
    const auto endLiteral = [&] {
        if (const auto bytes = text.subspan(literal, position - literal); !bytes.empty()) {
            visit({NamePiece::Kind::kLiteral, bytes, bytes});
        }
    };
    const auto endPiece = [&](const NamePiece& piece) {
        endLiteral();
        visit(piece);
        position += piece.written.size();
        literal = position;
    };
    while (position != text.size()) {
        const auto rest = text.subspan(position);
        if (rest[0] == ')') {
            endLiteral();
            return position + 1;
        }
        if (beginsWithEscape(rest)) {
            endPiece({NamePiece::Kind::kEscape, rest.first(2), rest.subspan(1, 1)});
        } else if (beginsWithMacro(rest)) {
            const auto close = std::find(rest.begin(), rest.end(), ')');
            if (close == rest.end()) {
                return std::nullopt;
            }
            const std::span<const std::uint8_t> macro(rest.begin(), close + 1);
            checkMacro(macro);
            endPiece({NamePiece::Kind::kDatabaseId, macro, databaseId});
        } else {
            ++position;
        }
    }
    return std::nullopt;
}

std::optional<std::size_t> findKeyword(std::span<const std::uint8_t> text, std::size_t from) {
    const auto rest = text.subspan(from);
    const auto found = std::search(rest.begin(), rest.end(), kKeyword.begin(), kKeyword.end());
    if (found == rest.end()) {
        return std::nullopt;
    }
    return from + static_cast<std::size_t>(found - rest.begin());
}

// The name is only walked here: where it ends is not known before, and nothing is copied of one
// that is never closed. Its size is added up on the way, so that callers can refuse a long name
// before there is memory for it.
WalletReference readReference(std::span<const std::uint8_t> text, std::size_t keyword,
                              const JdbcUrlParts& url) {
    const std::size_t keywordEnd = keyword + kKeyword.size();
    WalletReference reference{ReferenceKind::kBare, keyword, keywordEnd, {}, 0};
    if (keywordEnd == text.size() || text[keywordEnd] != '(') {
        return reference;
    }
    const auto rest = text.subspan(keywordEnd + 1);
    std::uint64_t size = 0;
    const auto walked = walkName(rest, url.databaseId,
                                 [&size](const NamePiece& piece) { size += piece.meaning.size(); });
    if (!walked) {
        reference.kind = ReferenceKind::kUnclosed;
        return reference;
    }
    return {ReferenceKind::kNamed, keyword, keywordEnd + 1 + *walked, rest.first(*walked), size};
}

std::string entryNameOf(const WalletReference& reference, const JdbcUrlParts& url) {
    std::string entryName;
    const auto append = [&entryName](std::span<const std::uint8_t> bytes) {
        entryName.append(bytes.begin(), bytes.end());
    };
    if (reference.kind == ReferenceKind::kNamed) {
        walkName(reference.name, url.databaseId,
                 [&append](const NamePiece& piece) { append(piece.meaning); });
    } else {
        entryName = kDefaultEntryPrefix;
        append(url.logonMechanism);
    }
    return entryName;
}

}  // namespace Orvanta_OvWallet
