// The process's memory map, "/proc/self/maps": which file is mapped at an address.
//
//     7f0c1a200000-7f0c1a228000 r-xp 00028000 fe:01 1835      /usr/lib/x86_64-linux-gnu/libc.so.6
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace Orvanta_OvWallet {

struct Mapping {
    std::uint64_t begin;
    std::uint64_t end;
    std::string_view pathname;  // lies in the line
};

// Nothing for a line without a pathname, or one that does not begin with two addresses. The
// pathname is what follows from the first "/" on, blanks included: no field before it holds a "/".
std::optional<Mapping> parseMapLine(std::string_view line);

// The pathname in the first line of the map in mapFile that covers the address. Nothing when there
// is none; a map that cannot be opened or read simply has no (further) lines.
std::optional<std::string> pathnameMappedAt(std::uint64_t address, const char* mapFile);

}  // namespace Orvanta_OvWallet
