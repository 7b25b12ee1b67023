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
#include "wallet/inOwnWords.h"

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
    // The first pass meets what the user wrote; what is added there does not count.
    void beginNextPass() { isNested_ = true; }

    void add(int replacements, std::uint64_t work) {
        if (!isNested_) {
            return;
        }
        count_ += replacements;
        work_ += work;
        if (count_ > kMostNestedReplacements || work_ > kMostNestedWork) {
            throw OvWalletException(kEndless);
        }
    }

  private:
    bool isNested_ = false;
    int count_ = 0;
    std::uint64_t work_ = 0;
};

struct Reference {
    std::string entryName;
    const std::uint8_t* end;
};

// The reference whose keyword ends at keywordEnd. A long name counts before it is made.
Reference readReference(const SecureByteVector& text, const std::uint8_t* keywordEnd,
                        const JdbcUrlParts& url, NestedReplacements& nested) {
    if (keywordEnd != text.end() && *keywordEnd == '(') {
        if (const auto name = findMacroName({keywordEnd + 1, text.end()}, url.databaseId)) {
            nested.add(0, name->size);
            return {entryNameOf(*name, url.databaseId), name->end};
        }
    }
    std::string defaultEntry = "com.orvanta.";
    defaultEntry.append(url.logonMechanism.begin, url.logonMechanism.end);
    return {std::move(defaultEntry), keywordEnd};
}

// Returns the offset just behind the inserted value.
std::size_t replaceMacro(SecureByteVector& text, std::size_t offset, Wallet* wallet,
                         const JdbcUrlParts& url, NestedReplacements& nested) {
    nested.add(1, text.size());
    std::uint8_t* const macro = text.begin() + offset;
    const Reference reference = readReference(text, macro + kKeyword.size(), url, nested);
    OwnedLockedUTF8Vector value(fetchValue(wallet, reference.entryName));
    if (value.get() == nullptr) {
        throwNoValue();
    }
    const auto [bytes, size] = inOwnWords([&value] {
        return std::pair{OvWallet_getPtrLockedUTF8Vector(value.get()),
                         OvWallet_getSizeLockedUTF8Vector(value.get())};
    });
    if (bytes == nullptr && size != 0) {
        throwNoValue();
    }
    text.erase(macro, macro + (reference.end - macro));
    text.insert(text.begin() + offset, bytes, bytes + size);
    value.free();
    return offset + size;
}

}  // namespace

void expandMacros(SecureByteVector& text, Wallet* wallet, const JdbcUrlParts& url) {
    std::size_t start = 0;
    NestedReplacements nested;
    for (;;) {
        const std::optional<std::size_t> keyword = findKeyword(text, start);
        if (keyword) {
            start = replaceMacro(text, *keyword, wallet, url, nested);
        } else if (start != 0) {
            start = 0;
            nested.beginNextPass();
        } else {
            return;
        }
    }
}

}  // namespace Orvanta_OvWallet
