// Bytes in a buffer of exactly their length, so that the address sanitizer sees a read past the
// end, and texts made from bytes.
#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>

class ExactBytes {
  public:
    explicit ExactBytes(std::string_view text)
        : size_(text.size()), bytes_(std::make_unique<std::uint8_t[]>(text.size())) {
        std::copy(text.begin(), text.end(), bytes_.get());
    }

    std::span<std::uint8_t> span() { return {bytes_.get(), size_}; }
    std::string text() const { return {bytes_.get(), bytes_.get() + size_}; }

  private:
    std::size_t size_;
    std::unique_ptr<std::uint8_t[]> bytes_;
};

inline std::string textOf(std::span<const std::uint8_t> bytes) {
    return {bytes.begin(), bytes.end()};
}
