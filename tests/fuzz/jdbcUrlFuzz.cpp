// JDBC URL parsing: every range stays inside the URL, and the parts are those of a plain model.

#include <memory>
#include <string>
#include <string_view>

#include "fuzz/FuzzInput.h"
#include "fuzz/Reached.h"
#include "substitution/JdbcUrl.h"
#include "substitution/parameterScan.h"

using namespace Orvanta_OvWallet;

namespace {

constexpr std::string_view kPrefix = "jdbc:orvanta://";

Reached noPrefix("no prefix");
Reached withSlash("a slash");
Reached blankId("no slash, a blank");
Reached noId("no slash, no blank");
Reached parameters("parameters with a blank, an equals sign and a value");
Reached quoted("a quote behind an equals sign");
Reached edited("a value taken over as the logon mechanism, edited");

bool isBlankByte(char byte) {
    return static_cast<signed char>(byte) <= ' ';
}

std::string modelDatabaseId(const std::string& url) {
    if (url.size() <= kPrefix.size() || !url.starts_with(kPrefix)) {
        ++noPrefix;
        return {};
    }
    const std::string rest = url.substr(kPrefix.size());
    const std::size_t slash = rest.find('/');
    if (slash != std::string::npos) {
        ++withSlash;
        const std::size_t equals = rest.find('=', slash);
        if (equals != std::string::npos) {
            ++parameters;
        }
        if (equals != std::string::npos && rest.find('\'', equals) != std::string::npos) {
            ++quoted;
        }
        return rest.substr(0, slash);
    }
    std::size_t first = rest.size();
    std::size_t last = 0;
    for (std::size_t i = 0; i < rest.size(); ++i) {
        if (isBlankByte(rest[i])) {
            first = std::min(first, i);
            last = i + 1;
        }
    }
    if (first == rest.size()) {
        ++noId;
        return {};
    }
    ++blankId;
    return rest.substr(first, last - first);
}

// A copy of exactly the URL's size, so that the sanitizer sees a step beyond either end.
struct ExactCopy {
    explicit ExactCopy(const std::string& text)
        : bytes(std::make_unique<std::uint8_t[]>(text.size())), size(text.size()) {
        std::copy(text.begin(), text.end(), bytes.get());
    }
    std::span<std::uint8_t> span() const { return {bytes.get(), size}; }

    std::unique_ptr<std::uint8_t[]> bytes;
    std::size_t size;
};

void checkUrl(const std::string& text) {
    const ExactCopy url(text);
    const JdbcUrlParts parts = parseJdbcUrl(url.span());
    const std::string id(parts.databaseId.begin(), parts.databaseId.end());
    const std::string mechanism(parts.logonMechanism.begin(), parts.logonMechanism.end());
    REQUIRE(id == modelDatabaseId(text));
    REQUIRE(mechanism == "OV2");
    REQUIRE(std::equal(text.begin(), text.end(), url.span().begin(),
                       [](char a, std::uint8_t b) { return static_cast<std::uint8_t>(a) == b; }));
}

// The value of a parameter that is called LOGMECH, as if a key could begin with a letter.
void checkValue(const std::string& value, bool doubled) {
    const ExactCopy text("LOGMECH" + value);
    const std::size_t end = text.size;
    const UrlParameter parameter{0, 7, 7, end, doubled ? std::size_t{7} : end, end};
    std::span<const std::uint8_t> mechanism;
    applyParameter(text.span(), parameter, mechanism);
    REQUIRE(mechanism.size() <= value.size());
    REQUIRE(mechanism.data() >= text.bytes.get() + 7 &&
            mechanism.data() + mechanism.size() <= text.bytes.get() + end);
    if (mechanism.size() != value.size()) {
        ++edited;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    const std::uint8_t kind = input.byte();
    const std::string text = input.remainder();
    if ((kind & 4) != 0) {
        checkValue(text, (kind & 1) != 0);
        return 0;
    }
    checkUrl((kind & 1) != 0 ? std::string(kPrefix) + text : text);
    return 0;
}
