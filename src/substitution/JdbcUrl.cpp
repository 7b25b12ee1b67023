#include "substitution/JdbcUrl.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace Orvanta_OvWallet {
namespace {

constexpr std::string_view kPrefix = "jdbc:orvanta://";
constexpr std::string_view kLogonMechanismKey = "LOGMECH";
constexpr std::array<std::uint8_t, 3> kDefaultLogonMechanism{'O', 'V', '2'};
constexpr std::uint8_t kQuote = '\'';

// Positions are offsets from the beginning of the text. A search whose start lies after its end
// finds nothing.
using Text = std::span<const std::uint8_t>;

bool hasPrefix(Text url) {
    return url.size() > kPrefix.size() && std::equal(kPrefix.begin(), kPrefix.end(), url.begin());
}

bool isBlank(std::uint8_t byte) {
    constexpr int kLargestBlank = 32;
    return static_cast<std::int8_t>(byte) <= kLargestBlank;
}

// Offset of the first blank in [from, to), or to.
std::size_t findBlank(Text text, std::size_t from, std::size_t to) {
    while (from < to && !isBlank(text[from])) {
        ++from;
    }
    return std::min(from, to);
}

// Offset just after the last blank in [from, to), or from.
std::size_t findBlankEnd(Text text, std::size_t from, std::size_t to) {
    while (to > from && !isBlank(text[to - 1])) {
        --to;
    }
    return std::max(from, to);
}

std::size_t find(Text text, std::uint8_t byte, std::size_t from, std::size_t to) {
    while (from < to && text[from] != byte) {
        ++from;
    }
    return std::min(from, to);
}

// The quotes of a value: what stands between open and close hides separators.
struct Quotes {
    std::size_t open;
    std::size_t close;
    std::size_t firstDoubled;
};

// Deliberate: the byte after a doubled quote is not looked at, so a quote right there closes
// nothing.
Quotes findQuotes(Text text, std::size_t value, std::size_t end) {
    constexpr std::size_t kDoubledQuoteAndNext = 3;
    Quotes quotes{find(text, kQuote, value, end), end, end};
    std::size_t quote = find(text, kQuote, quotes.open + 1, end);
    while (quote != end) {
        if (quote + 1 == end || text[quote + 1] != kQuote) {
            quotes.close = quote;
            break;
        }
        if (quotes.firstDoubled == end) {
            quotes.firstDoubled = quote;
        }
        quote = find(text, kQuote, quote + kDoubledQuoteAndNext, end);
    }
    return quotes;
}

std::size_t findSeparator(Text text, std::uint8_t separator, std::size_t value, std::size_t end,
                          const Quotes& quotes) {
    const std::size_t found = find(text, separator, value, end);
    const bool quoted = quotes.open < found && found < quotes.close;
    return quoted ? find(text, separator, quotes.close + 1, end) : found;
}

std::uint8_t upperCase(std::uint8_t byte) {
    return byte >= 'a' && byte <= 'z' ? static_cast<std::uint8_t>(byte - 'a' + 'A') : byte;
}

// A longer key that begins with the letters counts, too.
bool namesLogonMechanism(Text key) {
    return key.size() >= kLogonMechanismKey.size() &&
           std::equal(kLogonMechanismKey.begin(), kLogonMechanismKey.end(), key.begin(),
                      [](char expected, std::uint8_t byte) {
                          return upperCase(byte) == static_cast<std::uint8_t>(expected);
                      });
}

// Makes one quote of each doubled quote in place; returns what is left at the front.
std::span<std::uint8_t> collapseDoubledQuotes(std::span<std::uint8_t> value) {
    std::size_t kept = 0;
    for (std::size_t i = 0; i < value.size(); ++i) {
        value[kept++] = value[i];
        if (value[i] == kQuote && i + 1 < value.size() && value[i + 1] == kQuote) {
            ++i;
        }
    }
    return value.first(kept);
}

Text withoutEnclosingQuotes(Text value) {
    if (!value.empty() && value.front() == kQuote) {
        value = value.subspan(1);
    }
    if (!value.empty() && value.back() == kQuote) {
        value = value.first(value.size() - 1);
    }
    return value;
}

}  // namespace

std::span<const std::uint8_t> defaultLogonMechanism() {
    return kDefaultLogonMechanism;
}

JdbcUrlParts parseJdbcUrl(std::span<std::uint8_t> url) {
    JdbcUrlParts parts;
    if (!hasPrefix(url)) {
        return parts;
    }
    const std::span<std::uint8_t> rest = url.subspan(kPrefix.size());
    const std::size_t slash = find(rest, '/', 0, rest.size());
    if (slash == rest.size()) {
        const std::size_t blank = findBlank(rest, 0, rest.size());
        const std::size_t blankEnd = findBlankEnd(rest, blank, rest.size());
        parts.databaseId = rest.subspan(blank, blankEnd - blank);
    } else {
        parts.databaseId = rest.first(slash);
        UrlParameterScan scan(rest.subspan(slash + 1));
        while (const std::optional<UrlParameter> parameter = scan.next()) {
            applyParameter(*parameter, parts.logonMechanism);
        }
    }
    parts.databaseId = withBracketRule(parts.databaseId, url.data() + url.size());
    return parts;
}

std::span<const std::uint8_t> withBracketRule(std::span<const std::uint8_t> databaseId,
                                              const std::uint8_t* urlEnd) {
    const std::uint8_t* const end = databaseId.data() + databaseId.size();
    const bool bracketed =
        !databaseId.empty() && databaseId.front() == '[' && end != urlEnd && *end == ']';
    return bracketed ? std::span(databaseId.data() + 1, databaseId.size()) : databaseId;
}

std::optional<UrlParameter> UrlParameterScan::next() {
    const std::size_t key = findBlank(text_, position_, end_);
    if (key == end_) {
        return std::nullopt;
    }
    // What follows the last blank belongs to no parameter, this one or a later one.
    end_ = findBlankEnd(text_, key, end_);
    const std::size_t equals = find(text_, '=', key, end_);
    if (equals == end_) {
        return std::nullopt;
    }
    const std::size_t keyEnd = findBlankEnd(text_, key, equals);
    const std::size_t value = findBlank(text_, equals + 1, end_);
    if (value == end_ || text_[value] == ',') {
        return std::nullopt;
    }
    const Quotes quotes = findQuotes(text_, value, end_);
    const std::size_t valueEnd = std::min(findSeparator(text_, ',', value, end_, quotes),
                                          findSeparator(text_, ' ', value, end_, quotes));
    position_ = valueEnd == end_ ? end_ : valueEnd + 1;
    return UrlParameter{text_.subspan(key, keyEnd - key), text_.subspan(value, valueEnd - value),
                        quotes.firstDoubled < valueEnd};
}

void applyParameter(const UrlParameter& parameter, std::span<const std::uint8_t>& logonMechanism) {
    if (namesLogonMechanism(parameter.key)) {
        // Doubled quotes first: one that encloses the value is then dropped as a single one is.
        logonMechanism = withoutEnclosingQuotes(
            parameter.hasDoubledQuote ? collapseDoubledQuotes(parameter.value) : parameter.value);
    }
}

}  // namespace Orvanta_OvWallet
