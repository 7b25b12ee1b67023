// Steps "module" and "helper": whether the library finds the client directory by the link.
#pragma once

#include <optional>
#include <string>

#include "session/installationLink.h"
#include "tool/doctor/Report.h"
#include "tool/doctor/Subject.h"

namespace Orvanta_OvWallet::Tool {

// The client directory that the library goes on with, or nothing when the job fails. link is the
// one that the job makes and that need not exist.
std::optional<std::string> addModuleSteps(const Subject& subject, const PlannedLink& link,
                                          Report& report);

}  // namespace Orvanta_OvWallet::Tool
