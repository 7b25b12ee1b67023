#include "tool/doctor/moduleSteps.h"

#include <exception>

#include "session/InstallationLocator.h"
#include "session/helperExecutable.h"
#include "session/pathnames.h"
#include "session/walletFiles.h"
#include "support/OvWalletException.h"
#include "tool/doctor/useFailure.h"
#include "tool/output/printable.h"

namespace Orvanta_OvWallet::Tool {
namespace {

// Whether the library reads the very link that the job makes.
bool readsItsLink(const std::string& moduleDirectory, const PlannedLink& link) {
    const CanonicalPath directory = canonicalPath(directoryPart(link.pathname));
    return directory.errnum == 0 && link.pathname.ends_with(std::string("/") + kWalletLink) &&
           canonicalPath(moduleDirectory).path == directory.path;
}

// What the check of the helper program says; empty if it passes.
std::string helperComplaint(const CanonicalPath& clientDir) {
    try {
        return checkHelperExecutable(clientDir);
    } catch (const std::exception& failure) {
        return failure.what();
    }
}

void addHelperStep(const CanonicalPath& clientDir, Report& report) {
    const std::string complaint = helperComplaint(clientDir);
    Step step{"helper", State::kSkipped, {}};
    step.found.push_back("asked for only where the effective user is not the real one; it would " +
                         std::string(complaint.empty() ? "pass" : "not pass"));
    if (!complaint.empty()) {
        step.found.push_back(printable(complaint));
    }
    report.add(std::move(step));
}

void failHelperStep(const std::string& complaint, Report& report) {
    Step step{"helper", State::kFail, {printable(complaint)}};
    report.fail(std::move(step),
                useVerdict(useFailure(OvWalletException(complaint)),
                           "This process acts for another user, and the installation does not "
                           "show that an administrator set it up.",
                           "Install the software again as root."));
}

// What the library finds beside its file as things are, since the job's link lies elsewhere.
std::optional<std::string> locateAsItIs(const std::string& module, Report& report) {
    Step step{"module", State::kFail, {}};
    std::string clientDir;
    std::string message;
    try {
        message = InstallationLocator(module, clientDir);
    } catch (const std::exception& failure) {
        message = failure.what();
    }
    if (message.empty()) {
        step.state = State::kWarning;
        step.found.push_back("reads another link than the job makes, which leads to " +
                             printable(clientDir));
        report.add(std::move(step));
        return clientDir;
    }
    step.found.push_back(printable(message));
    report.fail(std::move(step),
                useVerdict(useFailure(OvWalletException(message)),
                           "The link does not lie beside the library's file.",
                           "Pass the private directory's name with a \"/\" at its end, and load "
                           "the library's file from that very directory."));
    return std::nullopt;
}

}  // namespace

std::optional<std::string> addModuleSteps(const Subject& subject, const PlannedLink& link,
                                          Report& report) {
    std::string moduleDirectory = "DIRECTORY/";
    if (subject.directory) {
        // The JVM resolves the pathname before it has the linker load the file.
        const std::string module = canonicalPath(subject.library).path;
        moduleDirectory = directoryPart(module);
        if (!readsItsLink(moduleDirectory, link)) {
            return locateAsItIs(module, report);
        }
        report.add({"module", State::kOk, {"reads the link that the job makes"}});
    }
    const bool absolute = link.target.starts_with('/');
    if (!absolute && !subject.directory) {
        report.add({"module",
                    State::kUnknown,
                    {"the installation's name is relative, and so taken from the private directory "
                     "on; --dir tells where that is"}});
        if (!report.decided()) {
            report.verdict.outcome = Outcome::kUnknown;
        }
        return std::nullopt;
    }
    const CanonicalPath clientDir =
        clientDirectory(absolute ? link.target : moduleDirectory + link.target);
    if (!actsForAnotherUser()) {
        addHelperStep(clientDir, report);
        return clientDir.path;
    }
    const std::string complaint = helperComplaint(clientDir);
    if (!complaint.empty()) {
        failHelperStep(complaint, report);
        return std::nullopt;
    }
    report.add({"helper", State::kOk, {"passes"}});
    return clientDir.path;
}

}  // namespace Orvanta_OvWallet::Tool
