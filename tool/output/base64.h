// Base64 with padding, as JSON carries bytes.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace Orvanta_OvWallet::Tool {

std::string toBase64(std::string_view bytes);

// Nothing for what is no base64.
std::optional<std::string> fromBase64(std::string_view text);

}  // namespace Orvanta_OvWallet::Tool
