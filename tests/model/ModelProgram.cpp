#include "model/ModelProgram.h"

const char* stepName(Step step) {
    switch (step) {
#define MODEL_NAME(enumerator, name) \
    case Step::enumerator:           \
        return name;
        MODEL_STEPS(MODEL_NAME)
#undef MODEL_NAME
    }
    return "";
}

std::size_t ModelProgram::add(Step step) {
    instructions_.push_back({step, here() + 1});
    return here() - 1;
}

std::size_t ModelProgram::choose() {
    return add(Step::choose);
}

void ModelProgram::leadHere(const Pending& places) {
    for (const std::size_t place : places) {
        instructions_[place].target = here();
    }
}

ModelProgram::Pending ModelProgram::lock() {
    const std::size_t guard = add(Step::enterAgainLockGuard);
    add(Step::enterAgainReadCount);
    add(Step::enterAgainIncrement);
    const std::size_t compare = add(Step::enterAgainCompare);
    if (fault_ != Fault::countNotDecremented) {
        add(Step::enterAgainReadRaised);
        add(Step::enterAgainDecrement);
    }
    std::size_t hold = 0;
    std::size_t secondGuard = 0;
    if (fault_ == Fault::holdWantedWithGuard) {
        hold = secondGuard = add(Step::lockLockHold);
    } else {
        add(Step::enterAgainUnlockGuard);
        hold = add(Step::lockLockHold);
        secondGuard = add(Step::lockLockGuard);
    }
    add(Step::lockReadCount);
    add(Step::lockIncrement);
    if (fault_ != Fault::ownerNotSet) {
        add(Step::lockSetOwner);
    }
    add(Step::lockUnlockGuard);
    const std::size_t entered = add(Step::jump);
    leadHere({compare});
    add(Step::enterAgainHolder);
    const std::size_t enteredAgain = add(Step::jump);

    leadHere({secondGuard});
    if (fault_ != Fault::holdKeptOnFailure) {
        add(Step::lockUnlockHold);
    }
    leadHere({guard, hold});
    const std::size_t thrown = add(Step::jump);
    leadHere({entered, enteredAgain});
    add(Step::lockReturn);
    return {thrown};
}

void ModelProgram::attemptUnlock(Pending& refused) {
    refused.push_back(add(Step::unlockLockGuard));
    add(Step::unlockReadCount);
    add(Step::unlockDecrement);
    add(Step::unlockUnlockGuard);
    add(Step::unlockUnlockHold);
}

// As the destructor of ProcessLockGuard does it: two attempts, and it throws if the first failed.
ModelProgram::Pending ModelProgram::unlock() {
    Pending first;
    Pending second;
    add(Step::unlockCalled);
    attemptUnlock(first);
    const std::size_t unlocked = add(Step::jump);
    leadHere(first);
    if (fault_ != Fault::unlockNotRepeated) {
        attemptUnlock(second);
    }
    leadHere(second);
    const std::size_t thrown = add(Step::jump);
    leadHere({unlocked});
    return {thrown};
}

ModelProgram::Pending ModelProgram::load() {
    add(Step::loadReadCount);
    add(Step::loadIncrement);
    const std::size_t isOne = add(Step::loadIsOne);
    const std::size_t open = add(Step::loadOpen);
    const std::size_t opened = add(Step::jump);
    leadHere({open});
    add(Step::loadReadRaised);
    add(Step::loadDecrement);
    const std::size_t failed = add(Step::jump);
    leadHere({isOne, opened});
    return {failed};
}

void ModelProgram::release() {
    add(Step::releaseReadCount);
    add(Step::releaseDecrement);
    add(Step::releaseClose);
}

void ModelProgram::giveBackUnderLock(const std::function<void()>& call) {
    const Pending refused = lock();
    call();
    Pending done = unlock();
    done.push_back(add(Step::jump));
    leadHere(refused);
    if (fault_ != Fault::givingBackNotRepeated) {
        const Pending refusedAgain = lock();
        call();
        const Pending thrown = unlock();
        leadHere(refusedAgain);
        leadHere(thrown);
    }
    leadHere(done);
}

void ModelProgram::dropReference() {
    giveBackUnderLock([this] { release(); });
}

// An error object of our own, made by errorFromException. Should the lock be refused, the one that
// stands for all takes its place.
void ModelProgram::makeLocalError() {
    const Pending refused = lock();
    add(Step::registryInsert);
    const Pending thrown = unlock();
    const std::size_t made = add(Step::jump);
    leadHere(thrown);
    giveBackUnderLock([this] { add(Step::registryErase); });
    leadHere(refused);
    leadHere({made});
}

void ModelProgram::freeLocalError() {
    giveBackUnderLock([this] { add(Step::registryErase); });
}

// Of an error object of the library.
void ModelProgram::freeError() {
    giveBackUnderLock([this] {
        add(Step::directFree);
        dropReference();
    });
}

// The discipline "release".
void ModelProgram::releaseObject() {
    if (fault_ == Fault::droppedBeforeFree) {
        dropReference();
        add(Step::directFree);
        return;
    }
    add(Step::directFree);
    dropReference();
}

ModelProgram::Pending ModelProgram::addReference() {
    if (fault_ == Fault::referenceNotAdded) {
        return {};
    }
    if (fault_ == Fault::loadWithoutLock) {
        return load();
    }
    Pending thrown = lock();
    const Pending loadThrows = load();
    const Pending unlockThrows = unlock();
    const std::size_t added = add(Step::jump);

    leadHere(unlockThrows);
    dropReference();
    thrown.push_back(add(Step::jump));

    leadHere(loadThrows);
    leadHere(unlock());
    thrown.push_back(add(Step::jump));
    leadHere({added});
    return thrown;
}

// Comes out behind itself with a wallet; every other outcome is dealt with and joins ends.
void ModelProgram::loadFirst(Pending& ends) {
    const Pending withoutReference = lock();
    const Pending loadThrows = load();
    const std::size_t throws = choose();
    add(Step::directMake);
    const std::size_t failure = choose();
    Pending notUnlocked = unlock();
    const std::size_t success = add(Step::jump);

    leadHere({failure});
    notUnlocked.push_back(unlock().front());
    freeError();
    ends.push_back(add(Step::jump));

    leadHere({throws});
    add(Step::directThrow);
    leadHere(unlock());
    const std::size_t withReference = add(Step::jump);
    leadHere(notUnlocked);
    if (fault_ != Fault::notTakenBack) {
        add(Step::directFree);
    }
    leadHere({withReference});
    makeLocalError();
    dropReference();
    freeLocalError();
    ends.push_back(add(Step::jump));

    leadHere(loadThrows);
    leadHere(unlock());
    leadHere(withoutReference);
    makeLocalError();
    freeLocalError();
    ends.push_back(add(Step::jump));
    leadHere({success});
}

// Whatever the outcome is, it is dealt with.
void ModelProgram::referenceAlways() {
    const std::size_t throws = choose();
    add(Step::directMake);
    const Pending notAdded = addReference();
    const std::size_t failure = choose();
    releaseObject();
    const std::size_t valueFreed = add(Step::jump);

    leadHere({failure});
    freeError();
    const std::size_t errorFreed = add(Step::jump);

    leadHere(notAdded);
    if (fault_ != Fault::notTakenBack) {
        add(Step::directFree);
    }
    const std::size_t takenBack = add(Step::jump);
    leadHere({throws});
    add(Step::directThrow);
    leadHere({takenBack});
    makeLocalError();
    freeLocalError();
    leadHere({valueFreed, errorFreed});
}

ModelProgram ModelProgram::nesting(Fault fault) {
    ModelProgram program(fault);
    program.add(Step::begin);
    const Pending outerThrows = program.lock();
    const std::size_t notNested = program.choose();
    const Pending innerThrows = program.lock();
    program.leadHere(program.unlock());
    program.leadHere({notNested});
    program.leadHere(innerThrows);
    program.leadHere(program.unlock());
    program.leadHere(outerThrows);
    program.instructions_[program.add(Step::jump)].target = 0;
    return program;
}

ModelProgram ModelProgram::walletUse(Fault fault, bool fetchesValue) {
    ModelProgram program(fault);
    Pending ends;
    program.add(Step::begin);
    program.loadFirst(ends);
    if (fetchesValue) {
        program.referenceAlways();
    }
    program.releaseObject();
    program.leadHere(ends);
    program.instructions_[program.add(Step::jump)].target = 0;
    return program;
}

ModelProgram ModelProgram::walletOpening(Fault fault) {
    return walletUse(fault, false);
}

ModelProgram ModelProgram::walletCall(Fault fault) {
    return walletUse(fault, true);
}
