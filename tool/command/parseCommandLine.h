// From the words of the command line to a command.
#pragma once

#include "tool/command/CommandOptions.h"

namespace Orvanta_OvWallet::Tool {

// A PrintText with exit status 2 names the word that is wrong and the nearest one that is right.
Command parseCommandLine(int argumentCount, const char* const* arguments);

}  // namespace Orvanta_OvWallet::Tool
