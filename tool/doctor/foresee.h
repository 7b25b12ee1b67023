// All steps of a job, in its order.
#pragma once

#include <optional>
#include <string>

#include "tool/command/CommandOptions.h"
#include "tool/doctor/Report.h"
#include "tool/doctor/Subject.h"

namespace Orvanta_OvWallet::Tool {

// The client directory of the job's wallet. Nothing when the job fails before; the report then says
// why.
std::optional<std::string> foreseeClientDirectory(const Subject& subject, Report& report);

// process is the one whose limits and rights are told, if not this one.
Report foresee(const Subject& subject, Depth depth, int timeoutSeconds,
               std::optional<int> process = std::nullopt);

}  // namespace Orvanta_OvWallet::Tool
