// JDBC URL parsing: what is found lies inside the URL, which stays as it is.

#include <memory>
#include <string>
#include <string_view>

#include "fuzz/FuzzInput.h"
#include "fuzz/Reached.h"
#include "substitution/JdbcUrl.h"

using namespace Orvanta_OvWallet;

namespace {

constexpr std::string_view kPrefix = "jdbc:orvanta://";

Reached found("a database id");
Reached none("no database id");
Reached parameters("a second parameter");
Reached edited("a value taken over as the logon mechanism, edited");

// A copy of exactly the text's size, so that the sanitizer sees a step beyond either end.
struct ExactCopy {
    explicit ExactCopy(std::string_view text)
        : bytes(std::make_unique<std::uint8_t[]>(text.size())), size(text.size()) {
        std::copy(text.begin(), text.end(), bytes.get());
    }
    std::span<std::uint8_t> span() const { return {bytes.get(), size}; }
    bool holds(std::span<const std::uint8_t> part) const {
        return part.data() >= bytes.get() && part.data() + part.size() <= bytes.get() + size;
    }
    bool equals(std::string_view text) const {
        return std::string_view(reinterpret_cast<const char*>(bytes.get()), size) == text;
    }

    std::unique_ptr<std::uint8_t[]> bytes;
    std::size_t size;
};

void checkUrl(const std::string& text) {
    const ExactCopy url(text);
    const JdbcUrlParts parts = parseJdbcUrl(url.span());
    REQUIRE(parts.databaseId.empty() || url.holds(parts.databaseId));
    REQUIRE(parts.logonMechanism.data() == defaultLogonMechanism().data());
    REQUIRE(url.equals(text));
    ++(parts.databaseId.empty() ? none : found);
}

// Parameters follow each other, each with its value after its key.
void checkParameters(const std::string& text) {
    const ExactCopy copy(text);
    const std::uint8_t* position = copy.bytes.get();
    UrlParameterScan scan(copy.span());
    for (int count = 1; const auto parameter = scan.next(); ++count) {
        REQUIRE(copy.holds(parameter->key) && copy.holds(parameter->value));
        REQUIRE(parameter->key.data() >= position);
        position = parameter->key.data() + parameter->key.size();
        REQUIRE(parameter->value.data() > position);
        position = parameter->value.data() + parameter->value.size();
        if (count == 2) {
            ++parameters;
        }
    }
}

// A value whose key names the logon mechanism, as if a key could begin with a letter.
void checkValue(const std::string& value, bool hasDoubledQuote) {
    const ExactCopy key("LOGMECH");
    const ExactCopy copy(value);
    std::span<const std::uint8_t> mechanism = defaultLogonMechanism();
    applyParameter({key.span(), copy.span(), hasDoubledQuote}, mechanism);
    REQUIRE(copy.holds(mechanism));
    if (mechanism.size() != value.size()) {
        ++edited;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    const std::uint8_t kind = input.byte();
    const std::string text = input.remainder();
    switch (kind & 3) {
        case 0:
            checkUrl(text);
            break;
        case 1:
            checkUrl(std::string(kPrefix) + text);
            break;
        case 2:
            checkParameters(text);
            break;
        default:
            checkValue(text, (kind & 4) != 0);
    }
    return 0;
}
