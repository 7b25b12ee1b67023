#include "tool/doctor/doctorPage.h"
#include "tool/output/json.h"
#include "tool/why/Catalogue.h"

namespace Orvanta_OvWallet::Tool {
namespace {

const char* nameOf(Outcome outcome) {
    switch (outcome) {
        case Outcome::kReturns:
            return "returns";
        case Outcome::kException:
            return "exception";
        case Outcome::kHangs:
            return "hangs";
        case Outcome::kEnds:
            return "ends";
        case Outcome::kUnknown:
            break;
    }
    return "unknown";
}

Json textOrNull(const std::string& text) {
    return text.empty() ? Json(nullptr) : Json(text);
}

Json verdictJson(const Verdict& verdict) {
    Json catalogueEntry;
    if (const std::optional<KnownMessage> known = findMessage(verdict.message)) {
        catalogueEntry = known->entry->messages[known->form];
    }
    return {{"outcome", nameOf(verdict.outcome)},
            {"class", textOrNull(verdict.exceptionClass)},
            {"message", textOrNull(verdict.message)},
            {"exact", verdict.exact},
            {"cause", textOrNull(verdict.cause)},
            {"do", textOrNull(verdict.advice)},
            {"catalogue", catalogueEntry}};
}

}  // namespace

std::string reportJson(const Report& report, const Circumstances& circumstances) {
    Json json{{"tool", "walletcaller"},
              {"version", WALLETCALLER_VERSION},
              {"schema", 1},
              {"node", circumstances.node},
              {"user", circumstances.user},
              {"depth", nameOf(circumstances.depth)},
              {"steps", Json::array()},
              {"verdict", verdictJson(report.verdict)},
              {"rehearsal", report.rehearsal ? verdictJson(*report.rehearsal) : Json(nullptr)},
              {"exit", circumstances.exitStatus}};
    for (const Step& step : report.steps) {
        json["steps"].push_back(
            {{"id", step.id}, {"state", nameOf(step.state)}, {"found", step.found}});
    }
    return toLine(json);
}

}  // namespace Orvanta_OvWallet::Tool
