#include "tool/doctor/foresee.h"

#include "tool/doctor/librarySteps.h"
#include "tool/doctor/linkStep.h"
#include "tool/doctor/loadStep.h"
#include "tool/doctor/moduleSteps.h"
#include "tool/doctor/softwareStep.h"
#include "tool/doctor/systemSteps.h"

namespace Orvanta_OvWallet::Tool {

std::optional<std::string> foreseeClientDirectory(const Subject& subject, Report& report) {
    if (const auto installation = addSoftwareStep(report)) {
        if (const auto link = addLinkStep(subject, *installation, report)) {
            return addModuleSteps(subject, *link, report);
        }
    }
    return std::nullopt;
}

Report foresee(const Subject& subject, Depth depth, int timeoutSeconds,
               std::optional<int> process) {
    Report report;
    addLoadStep(subject, report);
    if (const auto clientDir = foreseeClientDirectory(subject, report)) {
        addLibrarySteps(*clientDir, depth, timeoutSeconds, report);
    }
    if (process) {
        addProcessStep(*process, report);
    } else {
        addMemoryStep(depth, timeoutSeconds, report);
    }
    addTextsStep(report);
    return report;
}

}  // namespace Orvanta_OvWallet::Tool
