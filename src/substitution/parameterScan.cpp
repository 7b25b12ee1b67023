#include "substitution/parameterScan.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace Orvanta_OvWallet {
namespace {

constexpr std::uint8_t kQuote = '\'';

std::size_t find(std::span<const std::uint8_t> text, std::uint8_t byte, std::size_t from,
                 std::size_t to) {
    if (from >= to) {
        return to;
    }
    const auto found = std::find(text.begin() + static_cast<std::ptrdiff_t>(from),
                                 text.begin() + static_cast<std::ptrdiff_t>(to), byte);
    return static_cast<std::size_t>(found - text.begin());
}

// The quotes of a value: the span between open and close hides separators.
struct Quotes {
    std::size_t open;
    std::size_t close;
    std::size_t firstDoubled;
};

// Deliberate: the byte behind a doubled quote is not looked at, so a quote right there closes
// nothing.
Quotes findQuotes(std::span<const std::uint8_t> text, std::size_t value, std::size_t end) {
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

std::size_t findSeparator(std::span<const std::uint8_t> text, std::uint8_t separator,
                          std::size_t value, std::size_t end, const Quotes& quotes) {
    const std::size_t found = find(text, separator, value, end);
    const bool quoted = quotes.open < found && found < quotes.close;
    return quoted ? find(text, separator, quotes.close + 1, end) : found;
}

std::uint8_t upperCase(std::uint8_t byte) {
    return byte >= 'a' && byte <= 'z' ? static_cast<std::uint8_t>(byte - 'a' + 'A') : byte;
}

bool namesLogonMechanism(std::span<const std::uint8_t> key) {
    constexpr std::string_view kKey = "LOGMECH";
    return key.size() >= kKey.size() &&
           std::equal(kKey.begin(), kKey.end(), key.begin(), [](char expected, std::uint8_t byte) {
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

std::span<std::uint8_t> withoutEnclosingQuotes(std::span<std::uint8_t> value) {
    if (!value.empty() && value.front() == kQuote) {
        value = value.subspan(1);
    }
    if (!value.empty() && value.back() == kQuote) {
        value = value.first(value.size() - 1);
    }
    return value;
}

}  // namespace

bool isBlank(std::uint8_t byte) {
    constexpr int kLargestBlank = 32;
    return static_cast<std::int8_t>(byte) <= kLargestBlank;
}

std::size_t findBlank(std::span<const std::uint8_t> text, std::size_t from, std::size_t to) {
    while (from < to && !isBlank(text[from])) {
        ++from;
    }
    return std::min(from, to);
}

std::size_t findBlankEnd(std::span<const std::uint8_t> text, std::size_t from, std::size_t to) {
    while (to > from && !isBlank(text[to - 1])) {
        --to;
    }
    return std::max(from, to);
}

std::optional<UrlParameter> nextParameter(std::span<const std::uint8_t> text, std::size_t from,
                                          std::size_t& end) {
    const std::size_t key = findBlank(text, from, end);
    if (key == end) {
        return std::nullopt;
    }
    end = findBlankEnd(text, key, end);
    const std::size_t equals = find(text, '=', key, end);
    if (equals == end) {
        return std::nullopt;
    }
    const std::size_t keyEnd = findBlankEnd(text, key, equals);
    const std::size_t value = findBlank(text, equals + 1, end);
    if (value == end || text[value] == ',') {
        return std::nullopt;
    }
    const Quotes quotes = findQuotes(text, value, end);
    const std::size_t valueEnd = std::min(findSeparator(text, ',', value, end, quotes),
                                          findSeparator(text, ' ', value, end, quotes));
    const std::size_t next = valueEnd == end ? end : valueEnd + 1;
    return UrlParameter{key, keyEnd, value, valueEnd, quotes.firstDoubled, next};
}

std::span<const std::uint8_t> scanLogonMechanism(std::span<std::uint8_t> text,
                                                 std::span<const std::uint8_t> initial) {
    std::span<const std::uint8_t> logonMechanism = initial;
    std::size_t end = text.size();
    for (std::size_t position = 0; position < end;) {
        const std::optional<UrlParameter> parameter = nextParameter(text, position, end);
        if (!parameter) {
            break;
        }
        applyParameter(text, *parameter, logonMechanism);
        position = parameter->next;
    }
    return logonMechanism;
}

void applyParameter(std::span<std::uint8_t> text, const UrlParameter& parameter,
                    std::span<const std::uint8_t>& logonMechanism) {
    if (!namesLogonMechanism(text.subspan(parameter.key, parameter.keyEnd - parameter.key))) {
        return;
    }
    auto value = text.subspan(parameter.value, parameter.valueEnd - parameter.value);
    if (parameter.doubledQuote < parameter.valueEnd) {
        value = collapseDoubledQuotes(value);
    }
    logonMechanism = withoutEnclosingQuotes(value);
}

}  // namespace Orvanta_OvWallet
