#include "tool/output/printable.h"

#include <utf8.h>

#include <algorithm>
#include <array>

namespace Orvanta_OvWallet::Tool {
namespace {

struct CodePointRange {
    char32_t first;
    char32_t last;
};

// Controls, and what shows nothing or reorders what is shown.
constexpr std::array<CodePointRange, 8> kNotPrintable{{{0x0, 0x1F},
                                                       {0x7F, 0x9F},
                                                       {0xAD, 0xAD},
                                                       {0x200B, 0x200F},
                                                       {0x2028, 0x202E},
                                                       {0x2060, 0x206F},
                                                       {0xFEFF, 0xFEFF},
                                                       {0xFFF9, 0xFFFF}}};

bool isPrintable(char32_t codePoint) {
    return std::none_of(kNotPrintable.begin(), kNotPrintable.end(),
                        [codePoint](const CodePointRange& range) {
                            return range.first <= codePoint && codePoint <= range.last;
                        });
}

void appendHex(std::string& out, char byte) {
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    constexpr unsigned kHalf = 4;
    constexpr unsigned kMask = 0xF;
    const unsigned value = static_cast<unsigned char>(byte);
    out += "\\x";
    out += kDigits[value >> kHalf];
    out += kDigits[value & kMask];
}

std::string_view asText(std::span<const std::uint8_t> bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

}  // namespace

std::string printable(std::string_view text) {
    std::string out;
    for (auto position = text.begin(); position != text.end();) {
        const auto begin = position;
        bool shown = false;
        try {
            shown = isPrintable(static_cast<char32_t>(utf8::next(position, text.end())));
        } catch (const utf8::exception&) {
            position = begin + 1;
        }
        if (shown) {
            out.append(begin, position);
        } else {
            std::for_each(begin, position, [&out](char byte) { appendHex(out, byte); });
        }
    }
    return out;
}

std::string printable(std::span<const std::uint8_t> bytes) {
    return printable(asText(bytes));
}

std::string inQuotes(std::string_view text) {
    std::string quoted = "\"";
    quoted += printable(text);
    quoted += '"';
    return quoted;
}

std::string inQuotes(std::span<const std::uint8_t> bytes) {
    return inQuotes(asText(bytes));
}

bool isUtf8(std::string_view text) {
    return utf8::is_valid(text.begin(), text.end());
}

}  // namespace Orvanta_OvWallet::Tool
