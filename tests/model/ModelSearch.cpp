#include "model/ModelSearch.h"

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "model/ModelState.h"

namespace {

struct HashOfState {
    std::size_t operator()(const ModelState& state) const {
        return std::hash<std::string_view>()(state.bytes());
    }
};

class Search {
  public:
    Search(const ModelProgram& program, std::size_t threads)
        : program_(program), threads_(threads) {}

    SearchResult run(int refusals);

  private:
    using Index = std::uint32_t;
    // How a state was reached first.
    struct Arrival {
        Index from;
        std::int8_t thread;
    };

    void goOnFrom(Index index);
    Index visit(const ModelState& state, Arrival arrival);
    void report(const std::string& violation, Index index);
    void findStatesWithoutEnd();
    std::vector<std::string> stepsTo(Index index) const;

    const ModelProgram& program_;
    std::size_t threads_;
    SearchResult result_;
    std::unordered_map<ModelState, Index, HashOfState> known_;
    std::vector<ModelState> states_;
    std::vector<Arrival> arrivals_;
    std::vector<std::pair<Index, Index>> edges_;  // to, from
};

Search::Index Search::visit(const ModelState& state, Arrival arrival) {
    const auto [entry, isNew] = known_.try_emplace(state, static_cast<Index>(states_.size()));
    if (isNew) {
        states_.push_back(state);
        arrivals_.push_back(arrival);
        report(violationIn(state, threads_), entry->second);
    }
    return entry->second;
}

void Search::report(const std::string& violation, Index index) {
    if (result_.violation.empty() && !violation.empty()) {
        result_.violation = violation;
        result_.steps = stepsTo(index);
    }
}

void Search::goOnFrom(Index index) {
    const ModelState state = states_[index];
    bool canGoOn = false;
    for (std::size_t thread = 0; thread < threads_; ++thread) {
        const auto self = static_cast<std::int8_t>(thread);
        for (const Transition& transition : stepOf(program_, state, self)) {
            canGoOn = true;
            const Index reached = visit(transition.state, {index, self});
            edges_.emplace_back(reached, index);
            report(transition.violation, reached);
        }
    }
    if (!canGoOn && !allHaveEnded(state, threads_)) {
        report("no thread can go on", index);
    }
}

// Goes backwards from the end of all threads.
void Search::findStatesWithoutEnd() {
    std::sort(edges_.begin(), edges_.end());
    std::vector<bool> reachesEnd(states_.size(), false);
    std::vector<Index> open;
    for (Index index = 0; index < states_.size(); ++index) {
        if (allHaveEnded(states_[index], threads_)) {
            reachesEnd[index] = true;
            open.push_back(index);
        }
    }
    while (!open.empty()) {
        const Index to = open.back();
        open.pop_back();
        auto edge = std::lower_bound(edges_.begin(), edges_.end(), std::pair<Index, Index>(to, 0));
        for (; edge != edges_.end() && edge->first == to; ++edge) {
            if (!reachesEnd[edge->second]) {
                reachesEnd[edge->second] = true;
                open.push_back(edge->second);
            }
        }
    }
    const auto lost = std::find(reachesEnd.begin(), reachesEnd.end(), false);
    if (lost != reachesEnd.end()) {
        report("the end cannot be reached any more", static_cast<Index>(lost - reachesEnd.begin()));
    }
}

std::vector<std::string> Search::stepsTo(Index index) const {
    std::vector<std::string> steps;
    while (index != 0) {
        const Arrival arrival = arrivals_[index];
        const std::int16_t position =
            states_[arrival.from].threads[static_cast<std::size_t>(arrival.thread)].position;
        const Step step = program_.instructions()[static_cast<std::size_t>(position)].step;
        steps.push_back("thread " + std::to_string(arrival.thread) + ": " + stepName(step));
        index = arrival.from;
    }
    std::reverse(steps.begin(), steps.end());
    return steps;
}

bool locksGuard(Step step) {
    return step == Step::enterAgainLockGuard || step == Step::lockLockGuard ||
           step == Step::unlockLockGuard;
}

void appendMutexEvent(std::vector<std::string>& events, std::int8_t before, std::int8_t after,
                      const std::string& name) {
    if (before != after) {
        events.push_back((after == kNobody ? "unlock " : "lock ") + name);
    }
}

void appendEvents(std::vector<std::string>& events, Step step, const ModelState& before,
                  const ModelState& after) {
    appendMutexEvent(events, before.guardMutex, after.guardMutex, "guard");
    appendMutexEvent(events, before.holdMutex, after.holdMutex, "hold");
    if (step == Step::loadOpen) {
        events.emplace_back("dlopen");
    } else if (before.libraryIsOpen > after.libraryIsOpen) {
        events.emplace_back("dlclose");
    } else if (step == Step::directMake || step == Step::directThrow || step == Step::directFree) {
        events.emplace_back("call");
    }
}

SearchResult Search::run(int refusals) {
    ModelState start;
    start.refusalsLeft = static_cast<std::int8_t>(refusals);
    visit(start, {0, 0});
    for (Index index = 0; index < states_.size() && result_.violation.empty(); ++index) {
        goOnFrom(index);
    }
    if (result_.violation.empty()) {
        findStatesWithoutEnd();
    }
    result_.states = states_.size();
    return std::move(result_);
}

}  // namespace

SearchResult searchModel(const ModelProgram& program, std::size_t threads, int refusals) {
    return Search(program, threads).run(refusals);
}

std::vector<std::string> eventsOfOneRound(const ModelProgram& program,
                                          const Disturbance& disturbance) {
    std::vector<std::string> events;
    ModelState state;
    state.refusalsLeft = 1;
    int choices = 0;
    int attempts = 0;
    do {
        const auto position = static_cast<std::size_t>(state.threads[0].position);
        const Step step = program.instructions()[position].step;
        const std::vector<Transition> outcomes = stepOf(program, state, 0);
        bool second = false;
        if (step == Step::choose || step == Step::loadOpen) {
            second = ++choices == disturbance.failing;
        } else if (locksGuard(step) || (step == Step::lockLockHold && !disturbance.guardsOnly)) {
            second = ++attempts == disturbance.refused;
        }
        const ModelState next = outcomes.at(second ? 1 : 0).state;
        appendEvents(events, step, state, next);
        state = next;
    } while (state.threads[0].position != 0);
    return events;
}
