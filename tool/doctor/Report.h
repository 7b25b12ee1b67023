// What doctor found out: one row per step of a job, in the order in which a job takes them, and the
// verdict.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace Orvanta_OvWallet::Tool {

enum class State { kOk, kWarning, kFail, kSkipped, kUnknown };

struct Step {
    std::string id;
    State state = State::kOk;
    std::vector<std::string> found;  // a line each
};

// How a job's call ends.
enum class Outcome {
    kReturns,    // with the wallet opened, as far as the depth tells
    kException,  // of this class, with this message
    kHangs,      // it never ends and gives no message
    kEnds,       // the whole process ends
    kUnknown,
};

struct Verdict {
    Outcome outcome = Outcome::kReturns;
    std::string exceptionClass;
    std::string message;  // whole
    bool exact = true;    // whether the message is word for word what a job is told
    std::string cause;    // one line
    std::string advice;   // one line
};

inline constexpr const char* kConnectorException =
    "com.orvanta.connector.common.exception.ConnectorException";

struct Report {
    std::vector<Step> steps;
    Verdict verdict;                   // of the first step that fails
    std::optional<Verdict> rehearsal;  // what the library itself did

    void add(Step step);

    // The first failure decides; a job does not get to the others.
    void fail(Step step, Verdict why);

    bool decided() const { return verdict.outcome != Outcome::kReturns; }
};

}  // namespace Orvanta_OvWallet::Tool
