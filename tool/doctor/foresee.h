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

Report foresee(const Subject& subject, Depth depth, int timeoutSeconds);

}  // namespace Orvanta_OvWallet::Tool
