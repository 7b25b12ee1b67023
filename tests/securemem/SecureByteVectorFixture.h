// A test of SecureByteVector that counts the regions of the pool behind it.
#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "doubles/SystemCalls.h"
#include "securemem/SecureByteVector.h"

namespace Orvanta_OvWallet {

inline const std::uint8_t* bytesOf(const std::string& text) {
    return reinterpret_cast<const std::uint8_t*>(text.data());
}

inline std::string textOf(const SecureByteVector& vector) {
    return {reinterpret_cast<const char*>(vector.begin()), vector.size()};
}

inline void insert(SecureByteVector& vector, std::size_t position, const std::string& text) {
    vector.insert(vector.begin() + position, bytesOf(text), bytesOf(text) + text.size());
}

// A full vector: its capacity is the text's length.
inline std::unique_ptr<SecureByteVector> vectorOf(const std::string& text) {
    auto vector = std::make_unique<SecureByteVector>(text.size());
    std::copy_n(bytesOf(text), text.size(), vector->begin());
    return vector;
}

class SecureByteVectorFixture : public ::testing::Test {
  protected:
    SecureByteVectorFixture() {
        systemCalls().mlock = [this](const void*, std::size_t) {
            ++regions_;
            return 0;
        };
        systemCalls().munlock = [this](const void*, std::size_t) {
            --regions_;
            return 0;
        };
    }
    ~SecureByteVectorFixture() override {
        systemCalls() = {};
        EXPECT_EQ(regions_, 0) << "storage was not given back";
    }

    int regions_ = 0;
};

}  // namespace Orvanta_OvWallet
