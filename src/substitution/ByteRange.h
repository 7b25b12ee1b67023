// A run of bytes [begin, end) inside a buffer that somebody else owns and keeps alive.
#pragma once

#include <cstddef>
#include <cstdint>

namespace Orvanta_OvWallet {

struct ByteRange {
    const std::uint8_t* begin = nullptr;
    const std::uint8_t* end = nullptr;

    bool empty() const { return begin == end; }
    std::size_t size() const { return static_cast<std::size_t>(end - begin); }
};

}  // namespace Orvanta_OvWallet
