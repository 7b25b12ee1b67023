#include "tool/doctor/doctorPage.h"

#include "tool/output/printable.h"

namespace Orvanta_OvWallet::Tool {
namespace {

constexpr std::size_t kIndent = 17;
constexpr std::size_t kIdWidth = 11;
constexpr std::size_t kAdviceIndent = 8;

const char* shown(State state) {
    switch (state) {
        case State::kOk:
            return "ok";
        case State::kWarning:
            return "WARN";
        case State::kFail:
            return "FAIL";
        case State::kSkipped:
            return "-";
        case State::kUnknown:
            break;
    }
    return "?";
}

Colour colourOf(State state) {
    return state == State::kOk        ? Colour::kGood
           : state == State::kFail    ? Colour::kBad
           : state == State::kSkipped ? Colour::kNone
                                      : Colour::kWarning;
}

void addStep(TextPage& page, const Step& step) {
    std::string label = step.id;
    label.append(kIdWidth - label.size(), ' ');
    label += shown(step.state);
    for (const std::string& line : step.found) {
        page.add(label, kIndent, line, colourOf(step.state));
        label.clear();
    }
}

void addVerdict(TextPage& page, const Verdict& verdict, Depth depth) {
    switch (verdict.outcome) {
        case Outcome::kReturns:
            page.add("", 0,
                     depth == Depth::kFiles || depth == Depth::kLoad
                         ? "A job that this user sets up here gets as far as opening the wallet."
                         : "A job that this user sets up here opens the wallet.");
            return;
        case Outcome::kException:
            page.addLine(verdict.exact ? "A job fails with"
                                       : "A job fails with (in the linker's own words)");
            page.addLine("  " + verdict.exceptionClass + ":");
            page.addLine("  " + printable(verdict.message));
            break;
        case Outcome::kHangs:
            page.addLine("A job gets no message: the call never returns.");
            break;
        case Outcome::kEnds:
            page.addLine("A job gets no message: its whole process ends.");
            break;
        case Outcome::kUnknown:
            page.addLine("It cannot be told what a job meets.");
            break;
    }
    if (!verdict.cause.empty()) {
        page.add("Cause", kAdviceIndent, printable(verdict.cause));
        page.add("Do", kAdviceIndent, printable(verdict.advice));
    }
}

}  // namespace

void addReport(TextPage& page, const Report& report, const Circumstances& circumstances,
               bool brief) {
    if (!brief) {
        page.addLine("walletcaller " WALLETCALLER_VERSION " on " + circumstances.node + ", as " +
                     circumstances.user + " (uid " + std::to_string(circumstances.uid) + ")");
        if (circumstances.uid == 0) {
            page.add("", 0,
                     "Jobs run as somebody else; what they meet tells: sudo -u USER walletcaller "
                     "doctor");
        }
        page.addLine("");
        for (const Step& step : report.steps) {
            addStep(page, step);
        }
        page.addLine("");
    }
    addVerdict(page, report.verdict, circumstances.depth);
    if (report.rehearsal) {
        page.addLine("");
        page.add("", 0,
                 report.rehearsal->outcome == Outcome::kUnknown
                     ? "The rehearsal could not be made: " + printable(report.rehearsal->cause)
                 : circumstances.exitStatus == kDefect
                     ? "The rehearsal ended otherwise, which is a defect of this command:"
                     : "The rehearsal ended as foreseen.");
        if (circumstances.exitStatus == kDefect) {
            addVerdict(page, *report.rehearsal, circumstances.depth);
        }
    }
}

const char* nameOf(State state) {
    switch (state) {
        case State::kOk:
            return "ok";
        case State::kWarning:
            return "warn";
        case State::kFail:
            return "fail";
        case State::kSkipped:
            return "skipped";
        case State::kUnknown:
            break;
    }
    return "unknown";
}

const char* nameOf(Depth depth) {
    switch (depth) {
        case Depth::kFiles:
            return "files";
        case Depth::kLoad:
            return "load";
        case Depth::kOpen:
            return "open";
        case Depth::kCall:
            break;
    }
    return "call";
}

}  // namespace Orvanta_OvWallet::Tool
