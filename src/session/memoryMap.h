// One line of the process's memory map, "/proc/self/maps":
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
    std::string pathname;
};

// Nothing for a line without a pathname, or one that does not begin with two addresses. The
// pathname is what follows from the first "/" on, blanks included: no field before it holds a "/".
std::optional<Mapping> parseMapLine(std::string_view line);

}  // namespace Orvanta_OvWallet
