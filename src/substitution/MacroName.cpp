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

// Where the name's bytes go. The first walk over a name that may never be closed keeps none of
// them: they may be part of a secret.
class NameSink {
  public:
    explicit NameSink(std::string* name) : name_(name) {}

    void append(const std::uint8_t* first, const std::uint8_t* last) const {
        if (name_ != nullptr) {
            name_->append(first, last);
        }
    }

  private:
    std::string* name_;
};

void checkSubMacro(const std::uint8_t* first, const std::uint8_t* last) {
    const std::string subMacro(first, last);
    if (subMacro != kDatabaseIdMacro) {
        throw OvWalletException(formatMessage(kUnsupportedMacro, subMacro.c_str()));
    }
}

// Returns where the name ends, just behind its ")", or null when it is never closed.
const std::uint8_t* walkName(ByteRange text, ByteRange databaseId, NameSink name) {
    const std::uint8_t* position = text.begin;
    while (position != text.end) {
        const std::uint8_t* const current = position++;
        if (*current == ')') {
            return position;
        }
        if (position == text.end) {
            break;
        }
        if (*current == '\\' && isEscapable(*position)) {
            ++position;
            name.append(position - 1, position);
        } else if (*current == '$' && *position == '(') {
            const std::uint8_t* const close = std::find(position, text.end, ')');
            if (close == text.end) {
                break;
            }
            position = close + 1;
            checkSubMacro(current, position);
            name.append(databaseId.begin, databaseId.end);
        } else {
            name.append(current, position);
        }
    }
    return nullptr;
}

}  // namespace

std::optional<MacroName> parseMacroName(ByteRange text, ByteRange databaseId) {
    const std::uint8_t* const end = walkName(text, databaseId, NameSink(nullptr));
    if (end == nullptr) {
        return std::nullopt;
    }
    MacroName name{{}, end};
    walkName({text.begin, end}, databaseId, NameSink(&name.entryName));
    return name;
}

}  // namespace Orvanta_OvWallet
