#include "sandbox/store/PercentCode.h"

#include <cstddef>

namespace Orvanta_OvWallet::Sandbox {

namespace {

constexpr std::string_view kHexDigits = "0123456789ABCDEF";

bool standsForItself(char byte) {
    return (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z') ||
           (byte >= '0' && byte <= '9') || byte == '.' || byte == '_' || byte == '-';
}

}  // namespace

std::string percentEncode(std::string_view text) {
    std::string code;
    code.reserve(text.size());
    for (const char byte : text) {
        if (standsForItself(byte)) {
            code += byte;
        } else {
            const auto value = static_cast<unsigned char>(byte);
            code += '%';
            code += kHexDigits[value >> 4U];
            code += kHexDigits[value & 0x0FU];
        }
    }
    return code;
}

std::optional<std::string> percentDecode(std::string_view code) {
    std::string text;
    text.reserve(code.size());
    for (std::size_t at = 0; at < code.size(); ++at) {
        if (standsForItself(code[at])) {
            text += code[at];
            continue;
        }
        if (code[at] != '%' || code.size() - at < 3) {
            return std::nullopt;
        }
        const std::size_t high = kHexDigits.find(code[at + 1]);
        const std::size_t low = kHexDigits.find(code[at + 2]);
        if (high == std::string_view::npos || low == std::string_view::npos) {
            return std::nullopt;
        }
        const auto byte = static_cast<char>(static_cast<unsigned char>(high * 16 + low));
        if (standsForItself(byte)) {
            return std::nullopt;
        }
        text += byte;
        at += 2;
    }
    return text;
}

}  // namespace Orvanta_OvWallet::Sandbox
