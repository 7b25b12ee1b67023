// Step "load": whether the library's own file can be loaded where the job has it.
#pragma once

#include "tool/doctor/Report.h"
#include "tool/doctor/Subject.h"

namespace Orvanta_OvWallet::Tool {

void addLoadStep(const Subject& subject, Report& report);

}  // namespace Orvanta_OvWallet::Tool
