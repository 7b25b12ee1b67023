#include "session/memoryMap.h"

#include <charconv>

namespace Orvanta_OvWallet {

std::optional<Mapping> parseMapLine(std::string_view line) {
    constexpr int kHexadecimal = 16;
    const std::size_t slash = line.find('/');
    if (slash == std::string_view::npos) {
        return std::nullopt;
    }
    Mapping mapping{0, 0, std::string(line.substr(slash))};
    const char* const lineEnd = line.data() + line.size();
    const auto begin = std::from_chars(line.data(), lineEnd, mapping.begin, kHexadecimal);
    if (begin.ec != std::errc() || begin.ptr == lineEnd) {
        return std::nullopt;
    }
    const auto end = std::from_chars(begin.ptr + 1, lineEnd, mapping.end, kHexadecimal);
    if (end.ec != std::errc()) {
        return std::nullopt;
    }
    return mapping;
}

}  // namespace Orvanta_OvWallet
