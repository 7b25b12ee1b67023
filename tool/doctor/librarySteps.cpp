#include "tool/doctor/librarySteps.h"

#include <unistd.h>

#include <cstring>
#include <exception>
#include <vector>

#include "session/pathnames.h"
#include "session/walletFiles.h"
#include "support/OvWalletException.h"
#include "support/formatMessage.h"
#include "tool/doctor/Child.h"
#include "tool/doctor/clientLibrary.h"
#include "tool/doctor/elfFile.h"
#include "tool/doctor/useFailure.h"
#include "tool/output/printable.h"

namespace Orvanta_OvWallet::Tool {
namespace {

constexpr const char* kReinstall = "Install version 14.10 of the OvWallet software again.";

std::vector<std::string> entryPointNames() {
    return {
#define WALLET_ENTRY(ordinal, discipline, result, name, parameters, arguments) #name,
#define WALLET_ENTRY_UNWRAPPED(ordinal, result, name, parameters) #name,
#include "wallet/EntryPoints.def"
    };
}

std::vector<std::string> missingFrom(const ElfFile& file) {
    std::vector<std::string> missing;
    for (std::string& name : entryPointNames()) {
        if (!file.exports.contains(name)) {
            missing.push_back(std::move(name));
        }
    }
    return missing;
}

std::string functionsFound(std::size_t missing) {
    const std::size_t all = entryPointNames().size();
    return std::to_string(all - missing) + " of " + std::to_string(all);
}

std::string loaderWords(const std::string& text) {
    return useFailure(OvWalletException(text));
}

// At depth "files": what can be told without loading.
void addFromFile(const std::string& pathname, Report& report) {
    const ElfFile file = readElfFile(pathname);
    if (!file.problem.empty()) {
        Verdict verdict =
            useVerdict(loaderWords("Cannot load the \"" + pathname +
                                   "\" library because: " + pathname + ": " + file.problem),
                       "The dynamic linker refuses the client library.", kReinstall);
        verdict.exact = false;
        report.fail({"library", State::kFail, {printable(pathname), file.problem}}, verdict);
        return;
    }
    report.add({"library", State::kOk, {printable(pathname)}});
    if (!file.hasSymbolTable) {
        report.add({"functions", State::kUnknown, {"the file has no table of symbols"}});
        return;
    }
    const std::vector<std::string> missing = missingFrom(file);
    Step step{"functions", State::kOk, {functionsFound(missing.size())}};
    for (const std::string& name : missing) {
        step.found.push_back("missing: " + name);
    }
    if (missing.empty()) {
        report.add(std::move(step));
        return;
    }
    step.state = State::kFail;
    Verdict verdict = useVerdict(
        loaderWords("Cannot find the \"" + missing.front() + "\" function in the \"" + pathname +
                    "\" library because: " + pathname + ": undefined symbol: " + missing.front()),
        "The client library is not of version 14.10.", kReinstall);
    // Only the linker knows what the libraries that this one needs have.
    verdict.exact = false;
    report.fail(std::move(step), std::move(verdict));
}

Verdict childVerdict(const ChildResult& child) {
    if (child.end == ChildResult::End::kTimedOut) {
        return {Outcome::kUnknown,
                {},
                {},
                false,
                "The wallet's code did not come to an end in time.",
                "Try a longer --timeout; ask the makers of the OvWallet software."};
    }
    return {Outcome::kEnds,
            {},
            {},
            false,
            "The wallet's code ends the whole process" +
                (child.signal == 0
                     ? std::string(".")
                     : std::string(", by the signal \"") + ::strsignal(child.signal) + "\"."),
            "Ask the makers of the OvWallet software."};
}

State stateOf(const Verdict& verdict) {
    return verdict.outcome == Outcome::kUnknown ? State::kUnknown : State::kFail;
}

// Loading failed, one way or another.
void failLoading(const std::string& pathname, const ChildResult& child, Report& report) {
    if (!child.has("failure")) {
        const Verdict verdict = childVerdict(child);
        report.fail({"library", stateOf(verdict), {printable(pathname), verdict.cause}}, verdict);
        return;
    }
    const std::string& message = child.values.at("failure");
    const ElfFile file = readElfFile(pathname);
    const std::vector<std::string> missing = missingFrom(file);
    // Which of the two it was only the message tells for certain; it is the library's own.
    const bool ofFunction = message.find("Cannot find the \"") != std::string::npos;
    if (!ofFunction) {
        report.fail(
            {"library", State::kFail, {printable(pathname), "the linker refuses it"}},
            useVerdict(message, "The dynamic linker refuses the client library.", kReinstall));
        return;
    }
    report.add({"library", State::kOk, {printable(pathname)}});
    Step step{"functions", State::kFail, {functionsFound(missing.size())}};
    for (const std::string& name : missing) {
        step.found.push_back("missing: " + name);
    }
    report.fail(std::move(step),
                useVerdict(message, "The client library is not of version 14.10.", kReinstall));
}

// The library is let fail on it: the linker's words come first there, and one that is not UTF-8
// takes the place of all others.
void failMissing(const std::string& pathname, const std::string& clientDir, int errnum,
                 int timeoutSeconds, Report& report) {
    const ChildResult child = runInChild(
        [&](const ChildReport& childReport) { tryClientLibrary(childReport, clientDir, false); },
        timeoutSeconds);
    if (!child.has("failure")) {
        failLoading(pathname, child, report);
        return;
    }
    const bool atRoot = clientDir.starts_with("//");
    report.fail({"library",
                 State::kFail,
                 {printable(pathname),
                  errnum == ENOENT ? "no such file" : "cannot be reached by this user"}},
                useVerdict(child.values.at("failure"),
                           atRoot ? "/usr/bin/ovwallet was copied or replaced by a script."
                                  : "The installation that was found lacks the client library, or "
                                    "this user may not search its directories.",
                           atRoot ? "make it a link to .../orvanta/client/14.10/ovwallet/"
                                    "redhatlinux-x8664/ovwallet"
                                  : kReinstall));
}

void addWalletStep(const ChildResult& child, Report& report) {
    if (child.has("opened") && !child.has("failure") && child.end == ChildResult::End::kFinished) {
        const std::string& version = child.values.at("opened");
        report.add({"wallet",
                    State::kOk,
                    {"opened and freed" +
                     (version.empty() ? std::string()
                                      : "; the client's version is " + inQuotes(version))}});
        return;
    }
    const Verdict verdict = child.has("failure")
                                ? useVerdict(child.values.at("failure"),
                                             "The OvWallet software cannot open the wallet "
                                             "of this user.",
                                             "Its words say why; ask its administrator.")
                                : childVerdict(child);
    report.fail({"wallet",
                 stateOf(verdict),
                 {child.has("failure") ? printable(verdict.message) : verdict.cause}},
                verdict);
}

}  // namespace

void addLibrarySteps(const std::string& clientDir, Depth depth, int timeoutSeconds,
                     Report& report) {
    const std::string pathname = canonicalPath(clientFile(clientDir, kClientLibrary)).path;
    if (::access(pathname.c_str(), F_OK) != 0) {
        failMissing(pathname, clientDir, errno, timeoutSeconds, report);
        return;
    }
    if (depth == Depth::kFiles) {
        addFromFile(pathname, report);
        return;
    }
    const bool open = depth != Depth::kLoad;
    const ChildResult child = runInChild(
        [&](const ChildReport& childReport) { tryClientLibrary(childReport, clientDir, open); },
        timeoutSeconds);
    if (!child.has("loaded")) {
        failLoading(pathname, child, report);
        return;
    }
    report.add({"library", State::kOk, {printable(child.values.at("loaded"))}});
    report.add({"functions", State::kOk, {functionsFound(0)}});
    if (open || child.has("failure") || child.end != ChildResult::End::kFinished) {
        addWalletStep(child, report);
    } else {
        report.add({"wallet", State::kSkipped, {"not opened; --depth=open does that"}});
    }
}

}  // namespace Orvanta_OvWallet::Tool
