// Reference expansion: what must hold of any result, whatever the text and the wallet's strings.

#include <string>
#include <string_view>

#include <utf8.h>

#include "fuzz/FuzzInput.h"
#include "fuzz/Reached.h"
#include "fuzz/WalletDouble.h"
#include "substitution/referenceExpansion.h"
#include "substitution/walletReference.h"
#include "support/OvWalletException.h"
#include "wallet/WalletOwner.h"

using namespace Orvanta_OvWallet;

namespace {

Reached named("a named reference");
Reached bare("a bare reference");
Reached unclosed("a name never closed");
Reached databaseIds("a database id in a name");
Reached expanded("a text expanded");
Reached nested("a value expanded in turn");
Reached unsupported("an unsupported macro");
Reached endless("the bound of nested replacements");
Reached missing("a missing entry");

std::span<const std::uint8_t> bytesOf(std::string_view text) {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

std::string_view textOf(std::span<const std::uint8_t> bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

JdbcUrlParts url() {
    return {.databaseId = bytesOf("db7")};
}

// The pieces of a name, put together, are the name as it is written, and its entry name.
void checkName(const WalletReference& reference) {
    std::string written;
    std::string meaning;
    const auto walked = walkName(reference.name, url().databaseId, [&](const NamePiece& piece) {
        REQUIRE(!piece.written.empty());
        written += textOf(piece.written);
        meaning += textOf(piece.meaning);
        if (piece.kind == NamePiece::Kind::kDatabaseId) {
            ++databaseIds;
        }
    });
    REQUIRE(walked == reference.name.size());
    REQUIRE(written + ")" == textOf(reference.name));
    REQUIRE(meaning == entryNameOf(reference, url()));
    REQUIRE(meaning.size() == reference.entryNameSize);
}

// References lie in the text one after the other, each where its keyword is. Returns how many.
std::size_t checkReferences(const std::string& text) {
    std::size_t count = 0;
    std::size_t from = 0;
    while (const auto keyword = findKeyword(bytesOf(text), from)) {
        REQUIRE(*keyword == text.find("$ovwallet", from));
        const WalletReference reference = readReference(bytesOf(text), *keyword, url());
        REQUIRE(reference.begin == *keyword && reference.end <= text.size());
        const bool open = text.substr(reference.begin + 9).starts_with('(');
        switch (reference.kind) {
            case ReferenceKind::kNamed:
                ++named;
                REQUIRE(open && text.substr(reference.begin + 10, reference.name.size()) ==
                                    textOf(reference.name));
                REQUIRE(reference.end == reference.begin + 10 + reference.name.size());
                checkName(reference);
                break;
            case ReferenceKind::kBare:
                ++bare;
                REQUIRE(!open && reference.end == reference.begin + 9);
                break;
            case ReferenceKind::kUnclosed:
                ++unclosed;
                REQUIRE(open && reference.end == reference.begin + 9);
        }
        from = reference.end;
        ++count;
    }
    return count;
}

void checkExpansion(const std::string& text, Wallet* wallet) {
    SecureByteVector bytes(0);
    bytes.insert(bytes.begin(), bytesOf(text).data(), bytesOf(text).data() + text.size());
    expandReferences(bytes, wallet, url());
    const std::string result(bytes.begin(), bytes.end());
    const std::size_t written = checkReferences(text);
    ++expanded;
    REQUIRE(result.find("$ovwallet") == std::string::npos);
    REQUIRE(WalletDouble::fetched().size() >= written);
    REQUIRE(written != 0 || (WalletDouble::fetched().empty() && result == text));
    if (WalletDouble::fetched().size() > written) {
        ++nested;
    }
}

void countFailure(std::string_view message) {
    if (message.starts_with("Unsupported replacement macro, \"$(")) {
        ++unsupported;
    } else if (message.ends_with("lead back to themselves.")) {
        ++endless;
        REQUIRE(WalletDouble::fetched().size() > 10'000);
    } else {
        REQUIRE(
            message.starts_with("Attempt to get value from Orvanta Wallet failed because: no "));
        ++missing;
    }
}

// Bytes of the input stand for pieces that matter more often than chance would make them.
std::string spell(const std::string& bytes) {
    constexpr const char* kPieces[] = {"$ovwallet", "$ovwallet(", "$(ovpid)", "$(",      ")", "(",
                                       "\\",        "$",          "$ov",      "wallet(", "a", "b"};
    std::string text;
    for (const char byte : bytes) {
        const auto index = static_cast<std::size_t>(static_cast<unsigned char>(byte)) - 0x80;
        if (index < std::size(kPieces)) {
            text += kPieces[index];
        } else {
            text += byte;
        }
    }
    return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool kInstalled = [] {
        WalletDouble::install();
        return true;
    }();
    static_cast<void>(kInstalled);
    FuzzInput input(data, size);
    WalletDouble::strings().clear();
    for (const char* name : {"a", "b", "com.orvanta.OV2", "adb7"}) {
        const std::uint8_t length = input.byte();
        const std::string value = spell(input.text(length % 24));
        if (length < 0xF0) {
            WalletDouble::strings()[name] = value;
        }
    }
    // An endless text is worth its time now and then, not at every mutation of it.
    const bool longRun = input.byte() == 0xFF && input.byte() == 0x5A;
    WalletDouble::setMostFetches(longRun ? 20'000 : 100);
    const std::string text = spell(input.remainder());
    Wallet* handle = nullptr;
    REQUIRE(OvWalletFactory_generateOvWalletV1(&handle) == nullptr);
    {
        const OwnedWallet wallet(handle);
        try {
            checkExpansion(text, wallet.get());
        } catch (const utf8::exception&) {
            // A message is text, and text is UTF-8; what could not be shown may be anything.
        } catch (const OvWalletException& failure) {
            countFailure(failure.what());
        }
    }
    REQUIRE(WalletDouble::liveObjects() == 0);
    return 0;
}
