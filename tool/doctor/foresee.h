// All steps of a job, in its order.
#pragma once

#include "tool/command/CommandOptions.h"
#include "tool/doctor/Report.h"
#include "tool/doctor/Subject.h"

namespace Orvanta_OvWallet::Tool {

Report foresee(const Subject& subject, Depth depth, int timeoutSeconds);

}  // namespace Orvanta_OvWallet::Tool
