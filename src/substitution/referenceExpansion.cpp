#include "substitution/referenceExpansion.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <utility>

#include "substitution/walletReference.h"
#include "support/OvWalletException.h"
#include "support/formatMessage.h"
#include "wallet/WalletOwner.h"

namespace Orvanta_OvWallet {
namespace {

constexpr const char* kEndless =
    "Orvanta Wallet references in credential information lead back to themselves.";

constexpr int kMostNestedReplacements = 10'000;
constexpr std::uint64_t kMostNestedWork = std::uint64_t{4} << 30;

std::span<const std::uint8_t> bytesOf(const SecureByteVector& text) {
    return {text.begin(), text.end()};
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

// Returns the offset just after the inserted value. The work is counted before it is done: the text
// before its reference is read, the name before it is made.
std::size_t replaceReference(SecureByteVector& text, std::size_t keyword, Wallet* wallet,
                             const JdbcUrlParts& url, NestedReplacements& nested) {
    nested.add(1, text.size());
    const WalletReference reference = readReference(bytesOf(text), keyword, url);
    nested.add(0, reference.entryNameSize);
    const std::string entryName = entryNameOf(reference, url);
    OwnedLockedUTF8Vector value(fetchValue(wallet, entryName));
    if (value.get() == nullptr) {
        throwNoValue();
    }
    const auto [bytes, size] = copyingExceptions([&value] {
        return std::pair{OvWallet_getPtrLockedUTF8Vector(value.get()),
                         OvWallet_getSizeLockedUTF8Vector(value.get())};
    });
    if (bytes == nullptr && size != 0) {
        throwNoValue();
    }
    text.erase(text.begin() + reference.begin, text.begin() + reference.end);
    text.insert(text.begin() + reference.begin, bytes, bytes + size);
    value.free();
    return reference.begin + size;
}

}  // namespace

void expandReferences(SecureByteVector& text, Wallet* wallet, const JdbcUrlParts& url) {
    std::size_t start = 0;
    NestedReplacements nested;
    for (;;) {
        const std::optional<std::size_t> keyword = findKeyword(bytesOf(text), start);
        if (keyword) {
            start = replaceReference(text, *keyword, wallet, url, nested);
        } else if (start != 0) {
            start = 0;
            nested.beginNextPass();
        } else {
            return;
        }
    }
}

}  // namespace Orvanta_OvWallet
