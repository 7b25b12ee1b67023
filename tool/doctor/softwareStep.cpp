#include "tool/doctor/softwareStep.h"

#include <sys/stat.h>

#include <exception>
#include <set>

#include "session/DirectoryScanner.h"
#include "session/installationSearch.h"
#include "session/pathnames.h"
#include "support/formatMessage.h"
#include "tool/output/printable.h"

namespace Orvanta_OvWallet::Tool {
namespace {

constexpr std::size_t kHopsShown = 20;
constexpr std::size_t kMostHops = 100'000;

struct Story {
    bool endsAtFile = false;
    bool goesRound = false;
    std::size_t hops = 0;
};

// The library follows links for ever, so a cycle is looked for first. A walk that neither comes by
// a place twice nor ends makes its pathname longer, which the system stops.
Story followCommandLink(Step& step) {
    Story story;
    LinkWalk walk(kCommandLink);
    std::set<std::string> places{walk.pathname()};
    step.found.push_back(kCommandLink);
    for (; walk.leadsOn(); ++story.hops) {
        walk.follow();
        if (story.hops < kHopsShown) {
            step.found.push_back("-> " + printable(walk.pathname()));
        }
        if (!places.insert(walk.pathname()).second || story.hops == kMostHops) {
            story.goesRound = true;
            return story;
        }
    }
    story.endsAtFile = walk.isAtFile();
    if (!story.endsAtFile) {
        step.found.push_back("which " + (walk.link().errnum == 0
                                             ? std::string("is an empty link")
                                             : "does not count: " + errnoText(walk.link().errnum)));
    }
    return story;
}

// Opening a pipe waits for whoever writes into it.
bool isPipe(const std::string& pathname) {
    struct stat status{};
    return ::stat(pathname.c_str(), &status) == 0 && S_ISFIFO(status.st_mode);
}

const char* nameOf(PackageRecord::State state) {
    return state == PackageRecord::State::counts ? "counts"
           : state == PackageRecord::State::hasNoFirstLine
               ? "does not count: inst.dir cannot be read, or begins with an empty line"
               : "does not count: there is no such directory";
}

// Returns whether reading the records never ends.
bool readRecords(Step& step) {
    std::set<std::string> names;
    try {
        DirectoryScanner(names, kPackageDatabase);
    } catch (const std::exception&) {
        return false;  // the library says so in its own words
    }
    for (const std::string& name : names) {
        const std::string pathname = std::string(kPackageDatabase) + "/" + name;
        if (!isPackageRecord(name)) {
            if (name.find("ovwallet") != std::string::npos) {
                step.found.push_back(printable(pathname) +
                                     " does not count: its name is not "
                                     "\"ovwallet\" and digits");
            }
            continue;
        }
        if (isPipe(pathname + "/inst.dir")) {
            step.found.push_back(printable(pathname) + "/inst.dir is a pipe");
            return true;
        }
        const PackageRecord record = readPackageRecord(pathname);
        step.found.push_back(printable(pathname) + " " + inQuotes(record.base) + " " +
                             nameOf(record.state));
        if (record.state == PackageRecord::State::counts) {
            return false;
        }
    }
    return false;
}

Verdict hangs(std::string cause, std::string advice) {
    return {Outcome::kHangs, {}, {}, true, std::move(cause), std::move(advice)};
}

}  // namespace

std::optional<std::string> addSoftwareStep(Report& report) {
    Step step{"software", State::kOk, {}};
    const Story story = followCommandLink(step);
    if (story.goesRound) {
        step.state = State::kFail;
        step.found.push_back("the links lead back to where the walk has been");
        report.fail(std::move(step),
                    hangs("The links at /usr/bin/ovwallet go round in a circle.",
                          "Make /usr/bin/ovwallet a link to the software's own command."));
        return std::nullopt;
    }
    if (!story.endsAtFile && readRecords(step)) {
        step.state = State::kFail;
        report.fail(std::move(step), hangs("A package record is a pipe, and opening it never ends.",
                                           "Remove it, or install the software again."));
        return std::nullopt;
    }
    try {
        std::string base = findInstallation(kCommandLink, kPackageDatabase);
        if (story.endsAtFile && story.hops == 0) {
            step.state = State::kWarning;
            step.found.push_back(
                "is a file, not a link: the fifth directory above it is taken for "
                "the installation: " +
                inQuotes(base));
        } else {
            step.found.push_back("base directory " + printable(base));
        }
        if (!base.starts_with('/')) {
            step.state = State::kWarning;
            step.found.push_back(
                "which is relative: it counts for a job with this working "
                "directory only");
        }
        report.add(std::move(step));
        return base;
    } catch (const std::exception& failure) {
        step.state = State::kFail;
        report.fail(std::move(step),
                    {Outcome::kException, kConnectorException, failure.what(), true,
                     "Neither a command link nor a package record leads to the software.",
                     "Install the software here, or make the link /usr/bin/ovwallet to its "
                     "command."});
        return std::nullopt;
    }
}

}  // namespace Orvanta_OvWallet::Tool
