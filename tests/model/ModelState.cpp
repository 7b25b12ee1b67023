#include "model/ModelState.h"

#include <algorithm>

namespace {

class Execution {
  public:
    Execution(const ModelProgram& program, const ModelState& before, std::int8_t thread)
        : program_(program),
          before_(before),
          self_(thread),
          position_(before.threads[static_cast<std::size_t>(thread)].position) {}

    std::vector<Transition> run();

  private:
    bool runMutexStep();
    bool runHoldStep();
    bool runLibraryStep();
    void runOtherStep();

    void lockMutex(std::int8_t ModelState::* mutex);
    void unlockMutex(std::int8_t ModelState::* mutex);
    void unlockHoldIfReleased();
    bool holderComesAgain() const;
    void enter();
    void changeReferences(int change);
    void openLibrary();
    void closeLibraryIfUnused();
    void callLibrary(int objects);

    // As the two steps that a change of a counter consists of.
    void read(std::int8_t ModelState::* counter);
    ModelState& write(std::int8_t ModelState::* counter, int change);

    const ModelProgram::Instruction& at(int position) const {
        return program_.instructions()[static_cast<std::size_t>(position)];
    }
    const ModelProgram::Instruction& instruction() const { return at(position_); }
    int afterJumps(int position) const;
    ModelState::Thread& self(ModelState& state) const {
        return state.threads[static_cast<std::size_t>(self_)];
    }

    // Each makes one more outcome and returns its state, to be changed: the thread is behind its
    // step, or where the step leads otherwise.
    ModelState& next() { return leadTo(position_ + 1); }
    ModelState& leadAway() { return leadTo(static_cast<int>(instruction().target)); }
    ModelState& leadTo(int position);
    void goOn(bool straight);

    // Of the outcome that was made last.
    void report(const char* violation) { transitions_.back().violation = violation; }

    const ModelProgram& program_;
    const ModelState& before_;
    std::int8_t self_;
    std::int16_t position_;
    std::vector<Transition> transitions_;
};

ModelState& Execution::leadTo(int position) {
    transitions_.push_back({before_, ""});
    ModelState& state = transitions_.back().state;
    self(state).position = static_cast<std::int16_t>(afterJumps(position));
    return state;
}

int Execution::afterJumps(int position) const {
    while (position != kEnded && at(position).step == Step::jump) {
        position = static_cast<int>(at(position).target);
    }
    return position;
}

void Execution::goOn(bool straight) {
    if (straight) {
        next();
    } else {
        leadAway();
    }
}

void Execution::read(std::int8_t ModelState::* counter) {
    ModelState& state = next();
    self(state).readValue = state.*counter;
}

ModelState& Execution::write(std::int8_t ModelState::* counter, int change) {
    ModelState& state = next();
    state.*counter = static_cast<std::int8_t>(self(state).readValue + change);
    self(state).readValue = 0;
    return state;
}

void Execution::lockMutex(std::int8_t ModelState::* mutex) {
    if (before_.*mutex == kNobody) {
        next().*mutex = self_;
    }
    if (before_.refusalsLeft > 0) {
        --leadAway().refusalsLeft;
    }
}

void Execution::unlockMutex(std::int8_t ModelState::* mutex) {
    next().*mutex = kNobody;
    if (before_.*mutex != self_) {
        report("a mutex is unlocked by a thread that does not own it");
    }
}

void Execution::unlockHoldIfReleased() {
    const std::int8_t count = program_.fault() == Fault::zeroSeenTooLate
                                  ? before_.holdCount
                                  : before_.threads[static_cast<std::size_t>(self_)].readValue;
    if (count == 0) {
        unlockMutex(&ModelState::holdMutex);
    } else {
        next();
    }
    self(transitions_.back().state).readValue = 0;
}

bool Execution::holderComesAgain() const {
    return before_.holdCount != 1 &&
           (before_.owner == self_ || program_.fault() == Fault::ownerNotCompared);
}

void Execution::enter() {
    ModelState& state = next();
    ++self(state).depth;
    for (const ModelState::Thread& other : state.threads) {
        if (&other != &self(state) && other.depth != 0) {
            report("two threads own ProcessLock");
        }
    }
}

void Execution::changeReferences(int change) {
    std::int8_t& references = self(write(&ModelState::referenceCount, change)).references;
    references = static_cast<std::int8_t>(references + change);
}

void Execution::openLibrary() {
    next().libraryIsOpen = 1;
    if (before_.libraryIsOpen != 0) {
        report("the library is opened while it is open");
    }
    leadAway();
}

void Execution::closeLibraryIfUnused() {
    ModelState& state = next();
    if (state.referenceCount != 0) {
        return;
    }
    state.libraryIsOpen = 0;
    if (before_.libraryIsOpen == 0) {
        report("the library is closed while it is closed");
    }
}

void Execution::callLibrary(int objects) {
    ModelState& state = next();
    state.liveObjects = static_cast<std::int8_t>(state.liveObjects + objects);
    self(state).references = static_cast<std::int8_t>(self(state).references - objects);
    if (before_.libraryIsOpen == 0) {
        report("the library is called while it is closed");
    }
}

bool Execution::runMutexStep() {
    switch (instruction().step) {
        case Step::enterAgainLockGuard:
        case Step::lockLockGuard:
        case Step::unlockLockGuard:
            lockMutex(&ModelState::guardMutex);
            return true;
        case Step::lockLockHold:
            lockMutex(&ModelState::holdMutex);
            return true;
        case Step::enterAgainUnlockGuard:
        case Step::enterAgainHolder:
        case Step::lockUnlockGuard:
        case Step::unlockUnlockGuard:
            unlockMutex(&ModelState::guardMutex);
            return true;
        case Step::lockUnlockHold:
            unlockMutex(&ModelState::holdMutex);
            return true;
        case Step::unlockUnlockHold:
            unlockHoldIfReleased();
            return true;
        default:
            return false;
    }
}

bool Execution::runHoldStep() {
    switch (instruction().step) {
        case Step::enterAgainReadCount:
        case Step::enterAgainReadRaised:
        case Step::lockReadCount:
        case Step::unlockReadCount:
            read(&ModelState::holdCount);
            return true;
        case Step::enterAgainIncrement:
        case Step::lockIncrement:
            write(&ModelState::holdCount, 1);
            return true;
        case Step::enterAgainDecrement:
            write(&ModelState::holdCount, -1);
            return true;
        case Step::unlockDecrement: {
            ModelState& state = write(&ModelState::holdCount, -1);
            self(state).readValue = state.holdCount;
            return true;
        }
        case Step::enterAgainCompare:
            goOn(!holderComesAgain());
            return true;
        case Step::lockSetOwner:
            next().owner = self_;
            return true;
        case Step::lockReturn:
            enter();
            return true;
        case Step::unlockCalled:
            --self(next()).depth;
            return true;
        default:
            return false;
    }
}

bool Execution::runLibraryStep() {
    switch (instruction().step) {
        case Step::loadReadCount:
        case Step::loadReadRaised:
        case Step::releaseReadCount:
            read(&ModelState::referenceCount);
            return true;
        case Step::loadIncrement:
            changeReferences(1);
            return true;
        case Step::loadDecrement:
        case Step::releaseDecrement:
            changeReferences(-1);
            return true;
        case Step::loadIsOne:
            goOn(before_.referenceCount == 1);
            return true;
        case Step::loadOpen:
            openLibrary();
            return true;
        case Step::releaseClose:
            closeLibraryIfUnused();
            return true;
        case Step::directMake:
            callLibrary(1);
            return true;
        case Step::directFree:
            callLibrary(-1);
            return true;
        case Step::directThrow:
            callLibrary(0);
            return true;
        default:
            return false;
    }
}

void Execution::runOtherStep() {
    switch (instruction().step) {
        case Step::begin:
            next();
            leadTo(kEnded);
            break;
        case Step::choose:
            next();
            leadAway();
            break;
        default:
            next();
            break;
    }
}

std::vector<Transition> Execution::run() {
    if (position_ != kEnded && !runMutexStep() && !runHoldStep() && !runLibraryStep()) {
        runOtherStep();
    }
    return std::move(transitions_);
}

}  // namespace

std::vector<Transition> stepOf(const ModelProgram& program, const ModelState& state,
                               std::int8_t thread) {
    return Execution(program, state, thread).run();
}

std::string violationIn(const ModelState& state, std::size_t threads) {
    int references = state.liveObjects;
    for (const ModelState::Thread& thread : state.threads) {
        references += thread.references;
        if (thread.position == 0 && (thread.depth != 0 || thread.references != 0)) {
            return "a thread begins a round with something in its hands";
        }
    }
    if (state.referenceCount != references) {
        return "the reference count is not objects plus calls in flight";
    }
    if (state.holdMutex == kNobody && state.guardMutex == kNobody && state.holdCount != 0) {
        return "the hold count is not zero though nobody holds";
    }
    if (state.holdMutex == kNobody && (state.libraryIsOpen != 0) != (state.referenceCount != 0)) {
        return "the library is not open exactly while there are references";
    }
    if (allHaveEnded(state, threads) && (state.guardMutex != kNobody || state.liveObjects != 0 ||
                                         state.holdMutex != kNobody || state.referenceCount != 0)) {
        return "something is left at the end";
    }
    return "";
}

bool allHaveEnded(const ModelState& state, std::size_t threads) {
    return std::all_of(state.threads.begin(),
                       state.threads.begin() + static_cast<std::ptrdiff_t>(threads),
                       [](const ModelState::Thread& thread) { return thread.position == kEnded; });
}
