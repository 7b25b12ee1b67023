#include "tool/doctor/foresee.h"

#include "tool/doctor/librarySteps.h"
#include "tool/doctor/linkStep.h"
#include "tool/doctor/loadStep.h"
#include "tool/doctor/moduleSteps.h"
#include "tool/doctor/softwareStep.h"
#include "tool/doctor/systemSteps.h"

namespace Orvanta_OvWallet::Tool {

Report foresee(const Subject& subject, Depth depth, int timeoutSeconds) {
    Report report;
    addLoadStep(subject, report);
    if (const auto installation = addSoftwareStep(report)) {
        if (const auto link = addLinkStep(subject, *installation, report)) {
            if (const auto clientDir = addModuleSteps(subject, *link, report)) {
                addLibrarySteps(*clientDir, depth, timeoutSeconds, report);
            }
        }
    }
    addMemoryStep(depth, timeoutSeconds, report);
    addTextsStep(report);
    return report;
}

}  // namespace Orvanta_OvWallet::Tool
