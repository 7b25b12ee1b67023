// Reference expansion against a model that builds new strings instead of editing one.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <utf8.h>

#include "fuzz/FuzzInput.h"
#include "fuzz/Reached.h"
#include "fuzz/WalletDouble.h"
#include "substitution/referenceExpansion.h"
#include "support/OvWalletException.h"
#include "wallet/WalletOwner.h"

using namespace Orvanta_OvWallet;

namespace {

Reached named("a named reference");
Reached bare("a bare reference");
Reached unclosed("a name never closed");
Reached subMacro("a database id in a name");
Reached unsupported("an unsupported sub-macro");
Reached nested("a replacement in a later pass");
Reached endless("the bound of nested replacements");
Reached missing("a missing entry");
Reached skipped("an input left out as too long");

constexpr std::string_view kKeyword = "$ovwallet";
constexpr const char* kDatabaseId = "db7";
constexpr int kMostNested = 10'000;
constexpr int kMostNestedOfShortRuns = 100;
constexpr std::uint64_t kMostNestedWork = std::uint64_t{4} << 30;

struct Outcome {
    std::string text;
    std::string failure;
    std::vector<std::string> fetched;
};

struct ModelFailure {
    std::string message;
};

// An endless text is worth its time now and then, not at every mutation of it.
struct TooLong {};

std::string unsupportedMessage(const std::string& macro) {
    const std::string shown = macro.c_str();
    const auto bad = utf8::find_invalid(shown.begin(), shown.end());
    if (bad == shown.end()) {
        return "Unsupported replacement macro, \"" + shown + "\", found in credential information.";
    }
    try {
        std::u32string decoded;
        utf8::utf8to32(shown.begin(), shown.end(), std::back_inserter(decoded));
        return "decoded after all";
    } catch (const utf8::exception& failure) {
        return failure.what();
    }
}

struct ModelName {
    std::string name;
    std::size_t length;  // of the parentheses and what is between them
};

// text begins with "(".
std::optional<ModelName> readName(std::string_view text) {
    std::string name;
    std::string_view rest = text.substr(1);
    while (!rest.empty()) {
        if (rest.starts_with(")")) {
            return ModelName{name, text.size() - rest.size() + 1};
        }
        if (rest.starts_with("\\)") || rest.starts_with("\\$") || rest.starts_with("\\\\")) {
            name += rest[1];
            rest.remove_prefix(2);
        } else if (rest.starts_with("$(")) {
            const std::size_t close = rest.find(')');
            if (close == std::string_view::npos) {
                return std::nullopt;
            }
            const std::string macro(rest.substr(0, close + 1));
            if (macro != "$(ovpid)") {
                ++unsupported;
                throw ModelFailure{unsupportedMessage(macro)};
            }
            ++subMacro;
            name += kDatabaseId;
            rest.remove_prefix(macro.size());
        } else if (rest == "\\" || rest == "$") {
            return std::nullopt;
        } else {
            name += rest.front();
            rest.remove_prefix(1);
        }
    }
    return std::nullopt;
}

std::string fetch(const std::string& name, Outcome& outcome) {
    const std::string shown = name.c_str();
    outcome.fetched.push_back(shown);
    const auto found = WalletDouble::strings().find(shown);
    if (found != WalletDouble::strings().end()) {
        return found->second;
    }
    ++missing;
    const std::string reason = "no " + shown;
    if (!utf8::is_valid(reason.begin(), reason.end())) {
        throw ModelFailure{""};
    }
    throw ModelFailure{"Attempt to get value from Orvanta Wallet failed because: " + reason};
}

struct Nested {
    int count = 0;
    std::uint64_t work = 0;
};

void count(Nested& nestedSoFar, int replacements, std::uint64_t work, int mostNested) {
    nestedSoFar.count += replacements;
    nestedSoFar.work += work;
    if (nestedSoFar.count <= mostNested && nestedSoFar.work <= kMostNestedWork) {
        return;
    }
    if (mostNested != kMostNested) {
        throw TooLong{};
    }
    ++endless;
    throw ModelFailure{
        "Orvanta Wallet references in credential information lead back to themselves."};
}

// One pass from left to right; whether it replaced anything.
bool expandOnce(std::string& text, bool first, int mostNested, Nested& nestedSoFar,
                Outcome& outcome) {
    std::string done;
    std::string_view rest = text;
    bool replaced = false;
    for (std::size_t at = rest.find(kKeyword); at != std::string_view::npos;
         at = rest.find(kKeyword)) {
        if (!first) {
            count(nestedSoFar, 1, done.size() + rest.size(), mostNested);
        }
        done += rest.substr(0, at);
        rest.remove_prefix(at + kKeyword.size());
        const bool open = rest.starts_with("(");
        const std::optional<ModelName> name = open ? readName(rest) : std::nullopt;
        if (name) {
            ++named;
            if (!first) {
                count(nestedSoFar, 0, name->name.size(), mostNested);
            }
            rest.remove_prefix(name->length);
        } else {
            ++(open ? unclosed : bare);
        }
        if (!first) {
            ++nested;
        }
        done += fetch(name ? name->name : "com.orvanta.OV2", outcome);
        replaced = true;
    }
    text = done + std::string(rest);
    return replaced;
}

Outcome runModel(std::string text, int mostNested) {
    Outcome outcome;
    Nested nestedSoFar;
    try {
        for (bool first = true; expandOnce(text, first, mostNested, nestedSoFar, outcome);
             first = false) {
        }
        outcome.text = text;
    } catch (const ModelFailure& failure) {
        outcome.failure = failure.message.empty() ? "Invalid UTF-8 or the like" : failure.message;
    }
    return outcome;
}

Outcome runProduct(const std::string& text) {
    Outcome outcome;
    WalletDouble::fetched().clear();
    const std::string id = kDatabaseId;
    JdbcUrlParts url;
    const auto* const idBytes = reinterpret_cast<const std::uint8_t*>(id.data());
    url.databaseId = {idBytes, id.size()};
    Wallet* handle = nullptr;
    REQUIRE(OvWalletFactory_generateOvWalletV1(&handle) == nullptr);
    const OwnedWallet wallet(handle);
    SecureByteVector bytes(0);
    const auto* const first = reinterpret_cast<const std::uint8_t*>(text.data());
    bytes.insert(bytes.begin(), first, first + text.size());
    try {
        expandReferences(bytes, wallet.get(), url);
        outcome.text.assign(bytes.begin(), bytes.end());
    } catch (const utf8::exception& failure) {
        outcome.failure = failure.what();
    } catch (const OvWalletException& failure) {
        outcome.failure = failure.what();
    }
    outcome.fetched = WalletDouble::fetched();
    return outcome;
}

void compare(const Outcome& product, const Outcome& model) {
    REQUIRE(product.fetched == model.fetched);
    REQUIRE(product.failure.empty() == model.failure.empty());
    REQUIRE(product.failure == model.failure || model.failure == "Invalid UTF-8 or the like");
    REQUIRE(product.text == model.text);
    REQUIRE(WalletDouble::liveObjects() == 0);
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
    std::map<std::string, std::string>& strings = WalletDouble::strings();
    strings.clear();
    for (const char* name : {"a", "b", "com.orvanta.OV2", "adb7"}) {
        const std::uint8_t length = input.byte();
        if (length < 0xF0) {
            strings[name] = spell(input.text(length % 24));
        }
    }
    const bool longRun = input.byte() == 0xFF && input.byte() == 0x5A;
    const std::string text = spell(input.remainder());
    try {
        const Outcome model = runModel(text, longRun ? kMostNested : kMostNestedOfShortRuns);
        compare(runProduct(text), model);
    } catch (const TooLong&) {
        ++skipped;
    }
    return 0;
}
