#include "tool/doctor/loadStep.h"

#include <gnu/libc-version.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>

#include "session/pathnames.h"
#include "support/formatMessage.h"
#include "tool/doctor/elfFile.h"
#include "tool/output/printable.h"

namespace Orvanta_OvWallet::Tool {
namespace {

constexpr const char* kLinkError = "java.lang.UnsatisfiedLinkError";

Verdict linkError(std::string message, std::string cause, std::string advice) {
    return {Outcome::kException, kLinkError,       std::move(message), false,
            std::move(cause),    std::move(advice)};
}

bool isMountedNoexec(const std::string& directory) {
    struct statvfs status{};
    return ::statvfs(directory.c_str(), &status) == 0 && (status.f_flag & ST_NOEXEC) != 0;
}

// Who may change what lies in the directory, beside the user who sets up the job.
std::string strangersIn(const struct stat& status) {
    constexpr mode_t kSticky = S_ISVTX;
    if (status.st_uid != ::geteuid() && status.st_uid != 0) {
        return "belongs to the user with the id " + std::to_string(status.st_uid);
    }
    const bool open = (status.st_mode & (S_IWGRP | S_IWOTH)) != 0;
    return open && (status.st_mode & kSticky) == 0 ? "can be written by other users" : "";
}

void addDirectory(const std::string& directory, Step& step) {
    struct stat status{};
    if (::stat(directory.c_str(), &status) != 0) {
        step.state = State::kWarning;
        step.found.push_back(printable(directory) + ": " + errnoText(errno));
        return;
    }
    const std::string strangers = strangersIn(status);
    if (!strangers.empty()) {
        step.state = State::kWarning;
        step.found.push_back(printable(directory) + " " + strangers);
    }
}

}  // namespace

void addLoadStep(const Subject& subject, Report& report) {
    Step step{"load", State::kOk, {}};
    // The JVM passes the canonical pathname on to the linker.
    const CanonicalPath library = canonicalPath(subject.library);
    const std::string where =
        subject.directory ? directoryPart(library.path) : subject.temporaryDirectory;
    addDirectory(where, step);
    const std::string system = std::string("glibc ") + ::gnu_get_libc_version() + ", libgcc_s.so.1";
    if (library.errnum != 0) {
        step.state = State::kFail;
        step.found.push_back(printable(subject.library) + ": " + errnoText(library.errnum));
        report.fail(std::move(step),
                    linkError("Can't load library: " + printable(subject.library),
                              "The library's file is not there.",
                              "Copy it into the private directory before it is loaded."));
        return;
    }
    if (isMountedNoexec(where)) {
        step.state = State::kFail;
        step.found.push_back(printable(where) + " is mounted noexec");
        report.fail(
            std::move(step),
            linkError(
                library.path + ": " + library.path + ": failed to map segment from shared object",
                "Nothing may be executed from the file system of the private directory.",
                "Set java.io.tmpdir to a directory that is not mounted noexec."));
        return;
    }
    const ElfFile file = readElfFile(library.path);
    if (!file.problem.empty()) {
        step.state = State::kFail;
        step.found.push_back(printable(library.path) + ": " + file.problem);
        report.fail(std::move(step),
                    linkError(library.path + ": " + library.path + ": " + file.problem,
                              "The library's file is damaged or another file.",
                              "Compare it with the checksum of its package."));
        return;
    }
    step.found.push_back(printable(where) + " is not mounted noexec; " + system);
    report.add(std::move(step));
}

}  // namespace Orvanta_OvWallet::Tool
