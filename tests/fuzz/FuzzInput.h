// The bytes of one fuzz input, taken from the front piece by piece. Past the end everything is zero
// or empty, so a target consumes all of its input and never runs out.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

class FuzzInput {
  public:
    FuzzInput(const std::uint8_t* data, std::size_t size) : rest_(data, size) {}

    bool exhausted() const { return rest_.empty(); }

    std::uint8_t byte() {
        if (rest_.empty()) {
            return 0;
        }
        const std::uint8_t first = rest_.front();
        rest_ = rest_.subspan(1);
        return first;
    }

    std::string text(std::size_t size) {
        const std::span<const std::uint8_t> taken = rest_.first(std::min(size, rest_.size()));
        rest_ = rest_.subspan(taken.size());
        return {taken.begin(), taken.end()};
    }

    // A text whose length is the next byte.
    std::string shortText() { return text(byte()); }

    std::string remainder() { return text(rest_.size()); }

  private:
    std::span<const std::uint8_t> rest_;
};
