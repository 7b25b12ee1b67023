// A report for a person, and for a program.
#pragma once

#include <string>

#include "tool/command/CommandOptions.h"
#include "tool/doctor/Report.h"
#include "tool/output/TextPage.h"

namespace Orvanta_OvWallet::Tool {

struct Circumstances {
    std::string node;
    std::string user;
    unsigned uid = 0;
    Depth depth = Depth::kLoad;
    int exitStatus = 0;
};

void addReport(TextPage& page, const Report& report, const Circumstances& circumstances,
               bool brief);

// One object: "tool", "version", "schema" (1; rises on an incompatible change), "node", "user",
// "depth", "steps" ("id", "state" ok/warn/fail/skipped/unknown, "found"), "verdict" ("outcome"
// returns/exception/hangs/ends/unknown, "class", "message", "exact", "cause", "do", "catalogue",
// the entry of docs/errors.md), "rehearsal" (of the same form, or null), "exit".
std::string reportJson(const Report& report, const Circumstances& circumstances);

const char* nameOf(State state);
const char* nameOf(Depth depth);

}  // namespace Orvanta_OvWallet::Tool
