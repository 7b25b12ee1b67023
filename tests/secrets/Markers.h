// Texts that stand for secrets, told from all other bytes in the process.
//
// A marker is kept masked, so that the only copies in plain text are those that a test plants and
// that the code under test makes of them. It is looked for by its first kNeedle bytes.
#pragma once

#include <cstddef>
#include <string>

enum class Marker { userName, password, storedValue, url };
inline constexpr std::size_t kMarkers = 4;
inline constexpr std::size_t kNeedle = 16;

const char* nameOf(Marker marker);

// The text to plant: 40 letters and digits.
std::string plainText(Marker marker);

// Whether these kNeedle bytes are the beginning of the marker.
bool isNeedle(Marker marker, const unsigned char* bytes);

// The first place in [begin, end) where the marker stands, or end.
const unsigned char* findMarker(Marker marker, const unsigned char* begin,
                                const unsigned char* end);
