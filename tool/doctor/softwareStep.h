// Step "software": where the OvWallet software is, and how it is found.
#pragma once

#include <optional>
#include <string>

#include "tool/doctor/Report.h"

namespace Orvanta_OvWallet::Tool {

// The installation's base directory, or nothing when a job does not get that far.
std::optional<std::string> addSoftwareStep(Report& report);

}  // namespace Orvanta_OvWallet::Tool
