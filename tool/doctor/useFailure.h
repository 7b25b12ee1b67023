// The library's sentence for a wallet that cannot be opened.
#pragma once

#include <exception>
#include <string>

#include "tool/doctor/Report.h"

namespace Orvanta_OvWallet::Tool {

// What a job is told when this failure stops the opening of the wallet.
std::string useFailure(const std::exception& reason);

Verdict useVerdict(std::string message, std::string cause, std::string advice);

}  // namespace Orvanta_OvWallet::Tool
