#include "substitution/MacroName.h"

#include <algorithm>

#include "support/OvWalletException.h"
#include "support/formatMessage.h"

namespace Orvanta_OvWallet {
namespace {

constexpr const char* kUnsupportedMacro =
    "Unsupported replacement macro, \"%s\", found in credential information.";
constexpr const char* kDatabaseIdMacro = "$(ovpid)";

bool isEscapable(std::uint8_t byte) {
    return byte == ')' || byte == '$' || byte == '\\';
}

void append(std::string& name, std::uint8_t byte) {
    name.push_back(static_cast<char>(byte));
}

void appendSubMacro(std::string& name, const std::string& subMacro, ByteRange databaseId) {
    if (subMacro != kDatabaseIdMacro) {
        throw OvWalletException(formatMessage(kUnsupportedMacro, subMacro.c_str()));
    }
    name.append(databaseId.begin, databaseId.end);
}

}  // namespace

std::optional<MacroName> parseMacroName(ByteRange text, ByteRange databaseId) {
    std::string name;
    const std::uint8_t* position = text.begin;
    while (position != text.end) {
        const std::uint8_t* const current = position++;
        if (*current == ')') {
            return MacroName{std::move(name), position};
        }
        if (position == text.end) {
            break;
        }
        if (*current == '\\' && isEscapable(*position)) {
            append(name, *position++);
        } else if (*current == '$' && *position == '(') {
            const std::uint8_t* const close = std::find(position, text.end, ')');
            if (close == text.end) {
                break;
            }
            position = close + 1;
            appendSubMacro(name, std::string(current, position), databaseId);
        } else {
            append(name, *current);
        }
    }
    return std::nullopt;
}

}  // namespace Orvanta_OvWallet
