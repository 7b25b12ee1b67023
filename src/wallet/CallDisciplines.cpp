#include "wallet/CallDisciplines.h"

namespace Orvanta_OvWallet::PrivateStuff {

void addReference() {
    CallReference reference;
    {
        const ProcessLockGuard lock;
        reference.add();
    }
    reference.handOver();
}

void dropReference() {
    giveBackUnderLock([] { walletFunctions().release(); });
}

CallReference::~CallReference() {
    if (held_) {
        inSilence(dropReference);
    }
}

void CallReference::add() {
    walletFunctions().load();
    held_ = true;
}

}  // namespace Orvanta_OvWallet::PrivateStuff
