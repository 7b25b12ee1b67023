// Steps "memory" and "texts", which never make a job fail.
#pragma once

#include "tool/command/CommandOptions.h"
#include "tool/doctor/Report.h"

namespace Orvanta_OvWallet::Tool {

// What can be locked: told from the limits at depth "files", tried in a child otherwise.
void addMemoryStep(Depth depth, int timeoutSeconds, Report& report);

// The same of another process, from what the kernel tells of it, with its user and how much it has
// locked now.
void addProcessStep(int process, Report& report);

void addTextsStep(Report& report);

}  // namespace Orvanta_OvWallet::Tool
