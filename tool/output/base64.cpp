#include "tool/output/base64.h"

#include <cstdint>

namespace Orvanta_OvWallet::Tool {
namespace {

constexpr std::string_view kDigits =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::size_t kBytes = 3;       // that become
constexpr std::size_t kDigitCount = 4;  // digits of
constexpr unsigned kBits = 6;
constexpr std::uint32_t kMask = 63;

}  // namespace

std::string toBase64(std::string_view bytes) {
    std::string text;
    for (std::size_t i = 0; i < bytes.size(); i += kBytes) {
        std::uint32_t group = 0;
        for (std::size_t j = 0; j < kBytes; ++j) {
            group = group << 8U |
                    (i + j < bytes.size() ? static_cast<unsigned char>(bytes[i + j]) : 0U);
        }
        for (std::size_t j = 0; j < kDigitCount; ++j) {
            const auto shift = static_cast<unsigned>(kDigitCount - 1 - j) * kBits;
            text += i + j > bytes.size() ? '=' : kDigits[group >> shift & kMask];
        }
    }
    return text;
}

std::optional<std::string> fromBase64(std::string_view text) {
    if (text.size() % kDigitCount != 0) {
        return std::nullopt;
    }
    std::string bytes;
    std::uint32_t group = 0;
    unsigned bits = 0;
    const std::size_t end = text.find_last_not_of('=') + 1;
    if (text.size() - end > 2) {
        return std::nullopt;
    }
    for (const char digit : text.substr(0, end)) {
        const std::size_t value = kDigits.find(digit);
        if (value == std::string_view::npos) {
            return std::nullopt;
        }
        group = group << kBits | static_cast<std::uint32_t>(value);
        bits += kBits;
        if (bits >= 8) {
            bits -= 8;
            bytes += static_cast<char>(group >> bits & 255U);
        }
    }
    return bytes;
}

}  // namespace Orvanta_OvWallet::Tool
