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

// Where the name's bytes go: counted, and kept if there is a string for them.
class NameSink {
  public:
    explicit NameSink(std::string* name = nullptr) : name_(name) {}

    void append(const std::uint8_t* first, const std::uint8_t* last) {
        size_ += static_cast<std::uint64_t>(last - first);
        if (name_ != nullptr) {
            name_->append(first, last);
        }
    }

    std::uint64_t size() const { return size_; }

  private:
    std::string* name_;
    std::uint64_t size_ = 0;
};

void checkSubMacro(const std::uint8_t* first, const std::uint8_t* last) {
    const std::string subMacro(first, last);
    if (subMacro != kDatabaseIdMacro) {
        throw OvWalletException(formatMessage(kUnsupportedMacro, subMacro.c_str()));
    }
}

// Returns where the name ends, just behind its ")", or null when it is never closed.
const std::uint8_t* walkName(ByteRange text, ByteRange databaseId, NameSink& name) {
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

std::optional<MacroName> findMacroName(ByteRange text, ByteRange databaseId) {
    NameSink size;
    const std::uint8_t* const end = walkName(text, databaseId, size);
    if (end == nullptr) {
        return std::nullopt;
    }
    return MacroName{text.begin, end, size.size()};
}

std::string entryNameOf(const MacroName& name, ByteRange databaseId) {
    std::string entryName;
    NameSink bytes(&entryName);
    walkName({name.begin, name.end}, databaseId, bytes);
    return entryName;
}

}  // namespace Orvanta_OvWallet
