#include "tool/doctor/linkStep.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>

#include "session/pathnames.h"
#include "session/walletFiles.h"
#include "support/formatMessage.h"
#include "tool/output/printable.h"

namespace Orvanta_OvWallet::Tool {
namespace {

Verdict exception(std::string message, std::string cause, std::string advice) {
    return {Outcome::kException, kConnectorException, std::move(message), true,
            std::move(cause),    std::move(advice)};
}

struct Words {
    const char* cause;
    const char* advice;
};

Words wordsFor(int errnum) {
    switch (errnum) {
        case EEXIST:
            return {"The directory was used before, by another process or class loader.",
                    "Make a new private directory for each process and each class loader."};
        case ENOENT:
        case ENOTDIR:
            return {"The name that is passed is not that of a directory.",
                    "Make the directory before the call, and pass its name."};
        case EACCES:
        case EPERM:
        case EROFS:
            return {"This user may not write into the directory.",
                    "Use a directory of this user's own, on a file system that can be written."};
        default:
            return {"The link to the installation cannot be made there.",
                    "Use another private directory."};
    }
}

}  // namespace

// In the order of the kernel: the way to the directory, what is there already, a file system that
// cannot be written, the right to write.
int foreseenLinkError(const PlannedLink& link) {
    if (link.target.size() >= PATH_MAX) {
        return ENAMETOOLONG;
    }
    struct stat status{};
    if (::lstat(link.pathname.c_str(), &status) == 0) {
        return EEXIST;
    }
    if (errno != ENOENT) {
        return errno;
    }
    std::string directory = directoryPart(link.pathname);
    if (directory.empty()) {
        directory = ".";
    }
    if (::stat(directory.c_str(), &status) != 0) {
        return errno;
    }
    return ::faccessat(AT_FDCWD, directory.c_str(), W_OK | X_OK, AT_EACCESS) == 0 ? 0 : errno;
}

std::optional<PlannedLink> addLinkStep(const Subject& subject, const std::string& installation,
                                       Report& report) {
    Step step{"link", State::kOk, {}};
    if (!subject.directory) {
        const PlannedLink link = plannedLink("DIRECTORY/", installation);
        step.found.push_back("would be " + link.pathname + " -> " + printable(link.target));
        const std::string& parent = subject.temporaryDirectory;
        if (::faccessat(AT_FDCWD, parent.c_str(), W_OK | X_OK, AT_EACCESS) != 0) {
            step.state = State::kWarning;
            step.found.push_back("no directory can be made in " + printable(parent) + ": " +
                                 errnoText(errno));
        }
        report.add(std::move(step));
        return link;
    }
    const PlannedLink link = plannedLink(*subject.directory, installation);
    step.found.push_back("would be " + printable(link.pathname) + " -> " + printable(link.target));
    if (!subject.directory->ends_with('/')) {
        step.state = State::kWarning;
        step.found.push_back("the directory's name does not end in \"/\": the link lies beside it");
    }
    const int errnum = foreseenLinkError(link);
    if (errnum == 0) {
        report.add(std::move(step));
        return link;
    }
    step.state = State::kFail;
    step.found.push_back(errnoText(errnum));
    std::string message;
    try {
        message = linkFailure(link, errnum);
    } catch (const std::exception& failure) {
        message = failure.what();
    }
    const Words words = wordsFor(errnum);
    report.fail(std::move(step), exception(std::move(message), words.cause, words.advice));
    return std::nullopt;
}

}  // namespace Orvanta_OvWallet::Tool
