#include "secrets/Markers.h"

#include <cstring>

namespace {

constexpr std::size_t kSize = 40;
constexpr unsigned char kMask = 0x80;

// The byte at a position, masked: digits and letters that differ from marker to marker.
unsigned char maskedByte(Marker marker, std::size_t position) {
    constexpr const char* kLetters = "QZXJKVWYqzxjkvwy0123456789";
    constexpr std::size_t kCount = 26;
    const std::size_t seed =
        (static_cast<std::size_t>(marker) + 3) * (position + 7) * 11 + position;
    return static_cast<unsigned char>(kLetters[seed % kCount]) | kMask;
}

}  // namespace

const char* nameOf(Marker marker) {
    switch (marker) {
        case Marker::userName:
            return "user name";
        case Marker::password:
            return "password";
        case Marker::storedValue:
            return "stored value";
        case Marker::url:
            return "URL";
    }
    return "";
}

std::string plainText(Marker marker) {
    std::string text(kSize, '\0');
    for (std::size_t i = 0; i < text.size(); ++i) {
        text[i] = static_cast<char>(maskedByte(marker, i) ^ kMask);
    }
    return text;
}

bool isNeedle(Marker marker, const unsigned char* bytes) {
    for (std::size_t i = 0; i < kNeedle; ++i) {
        if ((bytes[i] ^ kMask) != maskedByte(marker, i)) {
            return false;
        }
    }
    return true;
}

const unsigned char* findMarker(Marker marker, const unsigned char* begin,
                                const unsigned char* end) {
    const int first = maskedByte(marker, 0) ^ kMask;
    for (const unsigned char* place = begin; end - place >= static_cast<std::ptrdiff_t>(kNeedle);) {
        const auto* const found = static_cast<const unsigned char*>(
            std::memchr(place, first, static_cast<std::size_t>(end - place) - kNeedle + 1));
        if (found == nullptr) {
            return end;
        }
        if (isNeedle(marker, found)) {
            return found;
        }
        place = found + 1;
    }
    return end;
}
