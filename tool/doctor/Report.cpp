#include "tool/doctor/Report.h"

#include <utility>

namespace Orvanta_OvWallet::Tool {

void Report::add(Step step) {
    steps.push_back(std::move(step));
}

void Report::fail(Step step, Verdict why) {
    steps.push_back(std::move(step));
    if (!decided()) {
        verdict = std::move(why);
    }
}

}  // namespace Orvanta_OvWallet::Tool
