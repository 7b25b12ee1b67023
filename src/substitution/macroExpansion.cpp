#include "substitution/macroExpansion.h"

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "substitution/MacroName.h"
#include "support/OvWalletException.h"
#include "support/formatMessage.h"
#include "wallet/WalletOwner.h"

namespace Orvanta_OvWallet {
namespace {

constexpr const char* kCannotGetValue =
    "Attempt to get value from Orvanta Wallet failed because: %s";
constexpr const char* kEndless =
    "Orvanta Wallet references in credential information lead back to themselves.";

constexpr std::string_view kKeyword = "$ovwallet";
constexpr int kMostNestedReplacements = 10'000;
constexpr std::uint64_t kMostNestedWork = std::uint64_t{4} << 30;

std::optional<std::size_t> findKeyword(const SecureByteVector& text, std::size_t start) {
    const std::uint8_t* const found =
        std::search(text.begin() + start, text.end(), kKeyword.begin(), kKeyword.end());
    if (found == text.end()) {
        return std::nullopt;
    }
    return static_cast<std::size_t>(found - text.begin());
}

// The reference whose keyword ends at keywordEnd.
MacroName parseMacro(const SecureByteVector& text, const std::uint8_t* keywordEnd,
                     const JdbcUrlParts& url) {
    if (keywordEnd != text.end() && *keywordEnd == '(') {
        if (auto named = parseMacroName({keywordEnd + 1, text.end()}, url.databaseId)) {
            return std::move(*named);
        }
    }
    std::string defaultEntry = "com.orvanta.";
    defaultEntry.append(url.logonMechanism.begin, url.logonMechanism.end);
    return {std::move(defaultEntry), keywordEnd};
}

LockedUTF8Vector* fetchValue(Wallet* wallet, const std::string& entryName) {
    LockedUTF8Vector* value = nullptr;
    WalletError* const error = OvWallet_getStringValue(wallet, entryName.c_str(), &value);
    if (error != nullptr) {
        throwWalletError(kCannotGetValue, error);
    }
    return value;
}

[[noreturn]] void throwNoValue() {
    throw OvWalletException(formatMessage(kCannotGetValue, "no value was returned"));
}

// Counts what later passes do, and ends a text that would not come to an end by itself.
class NestedReplacements {
  public:
    void add(std::size_t textSize) {
        work_ += textSize;
        if (++count_ > kMostNestedReplacements || work_ > kMostNestedWork) {
            throw OvWalletException(kEndless);
        }
    }

  private:
    int count_ = 0;
    std::uint64_t work_ = 0;
};

// Returns the offset just behind the inserted value.
std::size_t replaceMacro(SecureByteVector& text, std::size_t offset, Wallet* wallet,
                         const JdbcUrlParts& url) {
    std::uint8_t* const macro = text.begin() + offset;
    const MacroName name = parseMacro(text, macro + kKeyword.size(), url);
    OwnedLockedUTF8Vector value(fetchValue(wallet, name.entryName));
    if (value.get() == nullptr) {
        throwNoValue();
    }
    const std::uint8_t* const bytes = OvWallet_getPtrLockedUTF8Vector(value.get());
    const std::uint32_t size = OvWallet_getSizeLockedUTF8Vector(value.get());
    if (bytes == nullptr && size != 0) {
        throwNoValue();
    }
    text.erase(macro, macro + (name.end - macro));
    text.insert(text.begin() + offset, bytes, bytes + size);
    value.free();
    return offset + size;
}

}  // namespace

void expandMacros(SecureByteVector& text, Wallet* wallet, const JdbcUrlParts& url) {
    std::size_t start = 0;
    bool firstPass = true;
    NestedReplacements nested;
    for (;;) {
        const std::optional<std::size_t> keyword = findKeyword(text, start);
        if (!keyword && start == 0) {
            return;
        }
        if (!keyword) {
            start = 0;
            firstPass = false;
            continue;
        }
        if (!firstPass) {
            nested.add(text.size());
        }
        start = replaceMacro(text, *keyword, wallet, url);
    }
}

}  // namespace Orvanta_OvWallet
