// Step "link": whether the link to the installation would be made.
#pragma once

#include <optional>
#include <string>

#include "session/installationLink.h"
#include "tool/doctor/Report.h"
#include "tool/doctor/Subject.h"

namespace Orvanta_OvWallet::Tool {

// What making the link would fail with; 0 if it would be made. Room and quotas are not looked at.
int foreseenLinkError(const PlannedLink& link);

// The link that a job makes, or nothing when it fails.
std::optional<PlannedLink> addLinkStep(const Subject& subject, const std::string& installation,
                                       Report& report);

}  // namespace Orvanta_OvWallet::Tool
