#include "tool/doctor/runDoctor.h"

#include <pwd.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <memory>

#include "tool/doctor/Child.h"
#include "tool/doctor/Rehearsal.h"
#include "tool/doctor/doctorPage.h"
#include "tool/doctor/foresee.h"

namespace Orvanta_OvWallet::Tool {
namespace {

// From the file alone: a name service would be asked over a socket.
std::string userName(uid_t uid) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen("/etc/passwd", "re"),
                                                               std::fclose);
    while (file != nullptr) {
        const passwd* const user = ::fgetpwent(file.get());
        if (user == nullptr) {
            break;
        }
        if (user->pw_uid == uid) {
            return user->pw_name;
        }
    }
    return "?";
}

Circumstances circumstancesOf(Depth depth) {
    Circumstances circumstances;
    utsname system{};
    circumstances.node = ::uname(&system) == 0 ? system.nodename : "?";
    circumstances.uid = ::geteuid();
    circumstances.user = userName(circumstances.uid);
    circumstances.depth = depth;
    return circumstances;
}

Subject subjectOf(const DoctorOptions& options) {
    const std::string inDirectory = options.directory.value_or("") + "/" + kLibraryName;
    return {options.directory, options.temporaryDirectory,
            options.library     ? *options.library
            : options.directory ? inDirectory
                                : libraryBesideProgram()};
}

bool agree(const Verdict& left, const Verdict& right) {
    return left.outcome == right.outcome && left.exceptionClass == right.exceptionClass &&
           (left.message == right.message || !left.exact);
}

// Makes a private directory of its own, tells what a job meets with it, and then has the library
// show it. A verdict on another directory that was asked for stays the one that is told.
void rehearseTo(const Subject& subject, int timeoutSeconds, std::optional<int> process,
                Report& report, bool& differs) {
    catchSignals();
    try {
        const PrivateDirectory directory(subject.temporaryDirectory, subject.library);
        const Subject rehearsed{directory.name(), subject.temporaryDirectory, directory.library()};
        Report foreseen = foresee(rehearsed, Depth::kOpen, timeoutSeconds, process);
        std::optional<Verdict> rehearsal;
        // The library would prove by never returning that it hangs.
        if (foreseen.verdict.outcome != Outcome::kHangs) {
            rehearsal = rehearse(directory, timeoutSeconds);
            differs = rehearsal->outcome != Outcome::kUnknown &&
                      foreseen.verdict.outcome != Outcome::kUnknown &&
                      !agree(foreseen.verdict, *rehearsal);
        }
        if (!subject.directory) {
            report = std::move(foreseen);
        }
        report.rehearsal = std::move(rehearsal);
    } catch (const std::exception& failure) {
        report.rehearsal = Verdict{Outcome::kUnknown, {}, {}, false, failure.what(), {}};
    }
    endIfInterrupted();
}

int statusOf(const Report& report, bool strict) {
    const auto has = [&report](State state) {
        return std::any_of(report.steps.begin(), report.steps.end(),
                           [state](const Step& step) { return step.state == state; });
    };
    if (report.verdict.outcome == Outcome::kUnknown ||
        (report.rehearsal && report.rehearsal->outcome == Outcome::kUnknown)) {
        return kCannotTell;
    }
    if (report.decided() || (strict && has(State::kWarning))) {
        return kFailure;
    }
    return has(State::kUnknown) ? kCannotTell : kNoFailure;
}

}  // namespace

int runDoctor(const DoctorOptions& options) {
    Circumstances circumstances = circumstancesOf(options.depth);
    const Subject subject = subjectOf(options);
    Report report;
    bool differs = false;
    if (options.depth != Depth::kCall || options.directory) {
        report = foresee(subject, options.depth, options.timeoutSeconds, options.process);
    }
    if (options.depth == Depth::kCall) {
        rehearseTo(subject, options.timeoutSeconds, options.process, report, differs);
    }
    circumstances.exitStatus = differs ? kDefect : statusOf(report, options.strict);
    if (options.json) {
        writeOutput(reportJson(report, circumstances) + "\n");
    } else {
        TextPage page(wantsColour());
        addReport(page, report, circumstances, options.brief);
        writeOutput(page.text());
    }
    return circumstances.exitStatus;
}

}  // namespace Orvanta_OvWallet::Tool
