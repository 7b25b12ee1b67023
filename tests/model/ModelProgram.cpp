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

// Returns where the failure that leaves lock() leads on.
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
    const std::size_t thrown = add(Step::lockThrow);
    leadHere({entered, enteredAgain});
    add(Step::lockReturn);
    return {thrown};
}

void ModelProgram::unlock() {
    add(Step::unlockCalled);
    add(Step::unlockLockGuard);
    add(Step::unlockReadCount);
    add(Step::unlockDecrement);
    add(Step::unlockUnlockGuard);
    add(Step::unlockUnlockHold);
}

// Returns where the failure that leaves load() leads on.
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

void ModelProgram::addReference() {
    if (fault_ == Fault::referenceNotAdded) {
        return;
    }
    const bool locks = fault_ != Fault::loadWithoutLock;
    if (locks) {
        lock();
    }
    leadHere(load());
    if (locks) {
        unlock();
    }
}

void ModelProgram::dropReference() {
    lock();
    release();
    unlock();
}

// An error object of our own is made by errorFromException.
void ModelProgram::makeLocalError() {
    lock();
    add(Step::registryInsert);
    unlock();
}

void ModelProgram::freeLocalError() {
    lock();
    add(Step::registryErase);
    unlock();
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

// Of an error object of the library.
void ModelProgram::freeError() {
    lock();
    add(Step::directFree);
    dropReference();
    unlock();
}

// Comes out behind itself with a wallet; every other outcome is dealt with and joins ends.
void ModelProgram::loadFirst(Pending& ends) {
    lock();
    const Pending loadThrows = load();
    const std::size_t throws = choose();
    add(Step::directMake);
    const std::size_t failure = choose();
    unlock();
    const std::size_t success = add(Step::jump);

    leadHere({failure});
    unlock();
    freeError();
    ends.push_back(add(Step::jump));

    leadHere({throws});
    add(Step::directThrow);
    unlock();
    makeLocalError();
    dropReference();
    freeLocalError();
    ends.push_back(add(Step::jump));

    leadHere(loadThrows);
    unlock();
    makeLocalError();
    freeLocalError();
    ends.push_back(add(Step::jump));
    leadHere({success});
}

// Whatever the outcome is, it is dealt with.
void ModelProgram::referenceAlways() {
    const std::size_t throws = choose();
    add(Step::directMake);
    addReference();
    const std::size_t failure = choose();
    releaseObject();
    const std::size_t valueFreed = add(Step::jump);

    leadHere({failure});
    freeError();
    const std::size_t errorFreed = add(Step::jump);

    leadHere({throws});
    add(Step::directThrow);
    makeLocalError();
    freeLocalError();
    leadHere({valueFreed, errorFreed});
}

ModelProgram ModelProgram::nesting(Fault fault) {
    ModelProgram program(fault, true);
    program.add(Step::begin);
    const Pending outerThrows = program.lock();
    const std::size_t notNested = program.choose();
    const Pending innerThrows = program.lock();
    program.unlock();
    program.leadHere({notNested});
    program.leadHere(innerThrows);
    program.unlock();
    program.leadHere(outerThrows);
    program.instructions_[program.add(Step::jump)].target = 0;
    return program;
}

ModelProgram ModelProgram::walletUse(Fault fault, bool fetchesValue) {
    ModelProgram program(fault, false);
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
