// The text of docs/errors.md without what is for readers of the page only; made by
// tool/CMakeLists.txt.
#pragma once

#include <string_view>

namespace Orvanta_OvWallet::Tool {

extern const std::string_view kErrorPage;

}  // namespace Orvanta_OvWallet::Tool
