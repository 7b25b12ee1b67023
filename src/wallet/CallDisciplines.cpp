#include "wallet/CallDisciplines.h"

namespace Orvanta_OvWallet::PrivateStuff {

void addReference() {
    const ProcessLockGuard lock;
    walletFunctions().load();
}

void dropReference() {
    const ProcessLockGuard lock;
    walletFunctions().release();
}

CallReference::~CallReference() {
    if (!held_) {
        return;
    }
    try {
        dropReference();
    } catch (const std::exception&) {
        return;
    }
}

void CallReference::add() {
    walletFunctions().load();
    held_ = true;
}

}  // namespace Orvanta_OvWallet::PrivateStuff
