#include <dlfcn.h>

#include <string>
#include <utility>

#include "doubles/FailingHeap.h"
#include "doubles/SystemCalls.h"
#include "faults/FaultInjection.h"
#include "faults/machineDoubles.h"
#include "wallet/WalletTypes.h"

using namespace Orvanta_OvWallet;

namespace {

// What the library found last under the name of an entry point.
struct RealEntryPoints {
#define WALLET_ENTRY(ordinal, discipline, result, name, parameters, arguments) \
    result(*name) parameters = nullptr;
#include "wallet/EntryPoints.def"
};
RealEntryPoints realEntries;

const char* const kInvalidUtf8 = "\xFF";

bool failsOnly(int how) {
    return how == kReturnsError || how == kThrowsException || how == kThrowsOther;
}
bool throwsOnly(int how) {
    return how == kThrowsException || how == kThrowsOther;
}
bool handsOutToo(int how) {
    return failsOnly(how) || how == kHandsOutNull;
}
bool describes(int how) {
    return throwsOnly(how) || how == kDescribesNothing || how == kDescribesInvalidUtf8;
}
bool freesBadly(int how) {
    return throwsOnly(how) || how == kFreeThrowsException || how == kFreeThrowsOther;
}

// Has the client library itself return an error or throw from its next call of the entry point.
template <typename Call>
auto misbehave(const char* name, int how, const Call& call) {
    Machine& on = machine();
    const FailingHeap::Pause pause;
    if (how == kReturnsError) {
        on.wallet.failCall(name, 1, kWalletErrorText);
        return call();
    }
    struct Throwing {
        Throwing(Machine& where, const char* entry, std::uint32_t kind)
            : machine(where), name(entry) {
            machine.wallet.throwFromCalls(name, kind);
        }
        ~Throwing() { machine.wallet.throwFromCalls(name, 0); }
        Throwing(const Throwing&) = delete;
        Throwing& operator=(const Throwing&) = delete;
        Machine& machine;
        const char* name;
    };
    const bool throwsException = how == kThrowsException || how == kFreeThrowsException;
    const Throwing throwing(on, name, throwsException ? 1 : 2);
    return call();
}

WalletError* makeWallet(Wallet** wallet) {
    constexpr const char* kName = "OvWalletFactory_generateOvWalletV1";
    const auto how = FaultInjection::take("wallet", kName, handsOutToo);
    if (how == kHandsOutNull) {
        return nullptr;
    }
    const auto call = [&] { return realEntries.OvWalletFactory_generateOvWalletV1(wallet); };
    return how ? misbehave(kName, *how, call) : call();
}

WalletError* getValue(Wallet* wallet, const char* entry, LockedUTF8Vector** value) {
    constexpr const char* kName = "OvWallet_getStringValue";
    const auto how = FaultInjection::take("wallet", kName, handsOutToo);
    if (how == kHandsOutNull) {
        return nullptr;
    }
    const auto call = [&] { return realEntries.OvWallet_getStringValue(wallet, entry, value); };
    return how ? misbehave(kName, *how, call) : call();
}

const char* describe(WalletError* error) {
    constexpr const char* kName = "OvWallet_getErrorDescription";
    const auto how = FaultInjection::take("wallet", kName, describes);
    if (how == kDescribesNothing) {
        return nullptr;
    }
    if (how == kDescribesInvalidUtf8) {
        return kInvalidUtf8;
    }
    const auto call = [&] { return realEntries.OvWallet_getErrorDescription(error); };
    return how ? misbehave(kName, *how, call) : call();
}

std::uint32_t sizeOf(LockedUTF8Vector* vector) {
    constexpr const char* kName = "OvWallet_getSizeLockedUTF8Vector";
    const auto how = FaultInjection::take("wallet", kName, throwsOnly);
    const auto call = [&] { return realEntries.OvWallet_getSizeLockedUTF8Vector(vector); };
    return how ? misbehave(kName, *how, call) : call();
}

std::uint8_t* bytesOf(LockedUTF8Vector* vector) {
    constexpr const char* kName = "OvWallet_getPtrLockedUTF8Vector";
    const auto how = FaultInjection::take("wallet", kName, throwsOnly);
    const auto call = [&] { return realEntries.OvWallet_getPtrLockedUTF8Vector(vector); };
    return how ? misbehave(kName, *how, call) : call();
}

template <auto Entry, typename Object>
void freeObject(const char* name, Object* object) {
    const auto how = FaultInjection::take("wallet", name, freesBadly);
    const auto call = [&] { (realEntries.*Entry)(object); };
    how ? misbehave(name, *how, call) : call();
}

void freeWallet(Wallet* wallet) {
    freeObject<&RealEntryPoints::OvWallet_freeV1>("OvWallet_freeV1", wallet);
}
void freeVector(LockedUTF8Vector* vector) {
    freeObject<&RealEntryPoints::OvWallet_freeLockedUTF8Vector>("OvWallet_freeLockedUTF8Vector",
                                                                vector);
}
void freeError(WalletError* error) {
    freeObject<&RealEntryPoints::OvWallet_freeError>("OvWallet_freeError", error);
}

template <typename Function>
void* replace(Function*& slot, void* found, Function* replacement) {
    slot = reinterpret_cast<Function*>(found);
    return reinterpret_cast<void*>(replacement);
}

// The entry points that a whole call makes use of; all others are the client library's own.
void* withFaults(const char* name, void* found) {
    const std::string entry = name;
    if (entry == "OvWalletFactory_generateOvWalletV1") {
        return replace(realEntries.OvWalletFactory_generateOvWalletV1, found, makeWallet);
    }
    if (entry == "OvWallet_getStringValue") {
        return replace(realEntries.OvWallet_getStringValue, found, getValue);
    }
    if (entry == "OvWallet_getErrorDescription") {
        return replace(realEntries.OvWallet_getErrorDescription, found, describe);
    }
    if (entry == "OvWallet_getSizeLockedUTF8Vector") {
        return replace(realEntries.OvWallet_getSizeLockedUTF8Vector, found, sizeOf);
    }
    if (entry == "OvWallet_getPtrLockedUTF8Vector") {
        return replace(realEntries.OvWallet_getPtrLockedUTF8Vector, found, bytesOf);
    }
    if (entry == "OvWallet_freeV1") {
        return replace(realEntries.OvWallet_freeV1, found, freeWallet);
    }
    if (entry == "OvWallet_freeLockedUTF8Vector") {
        return replace(realEntries.OvWallet_freeLockedUTF8Vector, found, freeVector);
    }
    if (entry == "OvWallet_freeError") {
        return replace(realEntries.OvWallet_freeError, found, freeError);
    }
    return found;
}

int visitRelativeModule(int (*visit)(dl_phdr_info*, std::size_t, void*), void* data) {
    struct Visit {
        int (*visit)(dl_phdr_info*, std::size_t, void*);
        void* data;
    } original{visit, data};
    return real::dl_iterate_phdr(
        [](dl_phdr_info* module, std::size_t size, void* visitor) {
            const auto* const to = static_cast<Visit*>(visitor);
            dl_phdr_info named = *module;
            named.dlpi_name = "./faults_tests";
            return to->visit(&named, size, to->data);
        },
        &original);
}

}  // namespace

void installWalletDoubles(Machine& machine) {
    static thread_local const char* reason = nullptr;
    static constexpr const char* kReason = "the loader said so";
    systemCalls().dlopen = [&](const char* path, int mode) -> void* {
        if (FaultInjection::take("dlopen", path) || machine.refusesLibrary) {
            reason = kReason;
            return nullptr;
        }
        return real::dlopen(path, mode);
    };
    systemCalls().dlsym = [](void* library, const char* name) -> void* {
        const FailingHeap::Pause pause;
        if (FaultInjection::take("dlsym", name)) {
            reason = kReason;
            return nullptr;
        }
        return withFaults(name, real::dlsym(library, name));
    };
    systemCalls().dlclose = [](void* library) {
        const int result = real::dlclose(library);
        if (FaultInjection::take("dlclose", "")) {
            reason = kReason;
            return 1;
        }
        return result;
    };
    systemCalls().dlerror = [] {
        char* const text = const_cast<char*>(std::exchange(reason, nullptr));
        return text == nullptr ? real::dlerror() : text;
    };
    systemCalls().dl_iterate_phdr = [&](int (*visit)(dl_phdr_info*, std::size_t, void*),
                                        void* data) {
        return machine.hidesModule ? visitRelativeModule(visit, data)
                                   : real::dl_iterate_phdr(visit, data);
    };
}
