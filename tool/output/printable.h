// Bytes as a person can read them on any terminal.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace Orvanta_OvWallet::Tool {

// Characters that can be printed stay as they are; every byte of anything else, be it a control
// character, one that changes the direction of writing, or no UTF-8 at all, becomes \xHH.
std::string printable(std::string_view text);
std::string printable(std::span<const std::uint8_t> bytes);

// The same between double quotes.
std::string inQuotes(std::string_view text);
std::string inQuotes(std::span<const std::uint8_t> bytes);

// Whether the text is UTF-8 throughout.
bool isUtf8(std::string_view text);

}  // namespace Orvanta_OvWallet::Tool
