// The JSON library, and how all our JSON is written.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace Orvanta_OvWallet::Tool {

using Json = nlohmann::ordered_json;

// On one line; what is not UTF-8 is replaced by U+FFFD.
inline std::string toLine(const Json& json) {
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace Orvanta_OvWallet::Tool
