// The code in which names and values stand in the sandbox wallet's files.
//
// Letters, digits, ".", "_" and "-" stand for themselves; every other byte is "%" and two
// upper-case hexadecimal digits. So a text may hold any byte, and a coded one holds no blank, no
// control character and no newline. There is exactly one code for each text.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace Orvanta_OvWallet::Sandbox {

std::string percentEncode(std::string_view text);

// Nothing when the text is not what percentEncode would have made.
std::optional<std::string> percentDecode(std::string_view code);

}  // namespace Orvanta_OvWallet::Sandbox
