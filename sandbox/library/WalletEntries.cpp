// The entry points that make a wallet, close it, and read and change its strings.
#include <string>
#include <string_view>

#include "sandbox/library/Calls.h"
#include "sandbox/library/EntryPoints.h"
#include "sandbox/library/Handles.h"
#include "sandbox/store/SandboxDirectory.h"
#include "sandbox/store/Terminal.h"

namespace Orvanta_OvWallet {

using namespace Sandbox;

namespace {

constexpr std::string_view kVersion = "14.10";

ByteVector bytesFrom(std::string_view text) {
    return {text.begin(), text.end()};
}

void makeWallet(Wallet** wallet) {
    requireOutput(wallet);
    *wallet = handOut<Wallet>(currentDirectory());
}

void requireKnownLocale(const char* locale) {
    const std::string_view name = locale == nullptr ? "C" : locale;
    if (name != "C" && name != "POSIX" && name != "en" && !name.starts_with("en_")) {
        throw Failure(FailureCode::badArgument,
                      "There are no texts for the locale \"" + std::string(name) + "\".");
    }
}

template <class Handle>
WalletError* addFromVector(EntryPoint user, Wallet* wallet, const char* name, Handle* value) {
    return reportedCall(user, [&](std::string_view userName) {
        const auto object = require(wallet, userName);
        const std::string key = requiredName(name);
        object->add(key, textOf(*require(value, userName)));
    });
}

WalletError* addFromInput(EntryPoint user, Wallet* wallet, const char* name,
                          OpaqueArgument* prompt) {
    return reportedCall(user, [&](std::string_view userName) {
        const auto object = require(wallet, userName);
        const std::string key = requiredName(name);
        object->add(key, readStandardInput(textArgument(prompt)));
    });
}

}  // namespace

WalletError* OvWalletFactory_generateOvWalletV1(Wallet** wallet) {
    chooseLedger();
    return reportedCall(EntryPoint::OvWalletFactory_generateOvWalletV1,
                        [&](std::string_view) { makeWallet(wallet); });
}

WalletError* OvWalletFactory_generateLocaleOvWalletV1(Wallet** wallet, OpaqueArgument* argument2) {
    chooseLedger();
    return reportedCall(EntryPoint::OvWalletFactory_generateLocaleOvWalletV1,
                        [&](std::string_view) {
                            requireKnownLocale(textArgument(argument2));
                            makeWallet(wallet);
                        });
}

void OvWallet_freeV1(Wallet* wallet) {
    enterCall(EntryPoint::OvWallet_freeV1);
    giveBack(wallet, nameOf(EntryPoint::OvWallet_freeV1));
}

WalletError* OvWallet_getStringValue(Wallet* wallet, const char* name, LockedUTF8Vector** value) {
    return reportedCall(EntryPoint::OvWallet_getStringValue, [&](std::string_view userName) {
        const auto object = require(wallet, userName);
        const std::string key = requiredName(name);
        requireOutput(value);
        journalFetch(object->directory(), key);
        *value = handOut<LockedUTF8Vector>(bytesFrom(object->value(key)));
    });
}

WalletError* OvWallet_addString(Wallet* wallet, const char* name, LockedUTF8Vector* value) {
    return addFromVector(EntryPoint::OvWallet_addString, wallet, name, value);
}

WalletError* OvWallet_addStringFromTerminal(Wallet* wallet, const char* name,
                                            OpaqueArgument* argument3) {
    return addFromInput(EntryPoint::OvWallet_addStringFromTerminal, wallet, name, argument3);
}

WalletError* OvWallet_addSavedKeyString(Wallet* wallet, const char* name, LockedUTF8Vector* value) {
    return addFromVector(EntryPoint::OvWallet_addSavedKeyString, wallet, name, value);
}

WalletError* OvWallet_addSavedKeyStringFromTerminal(Wallet* wallet, const char* name,
                                                    OpaqueArgument* argument3) {
    return addFromInput(EntryPoint::OvWallet_addSavedKeyStringFromTerminal, wallet, name,
                        argument3);
}

WalletError* OvWallet_addPlaintextString(Wallet* wallet, const char* name, UTF8Vector* value) {
    return addFromVector(EntryPoint::OvWallet_addPlaintextString, wallet, name, value);
}

WalletError* OvWallet_addPlaintextStringFromTerminal(Wallet* wallet, const char* name,
                                                     OpaqueArgument* argument3) {
    return addFromInput(EntryPoint::OvWallet_addPlaintextStringFromTerminal, wallet, name,
                        argument3);
}

WalletError* OvWallet_deleteString(Wallet* wallet, const char* name) {
    return reportedCall(EntryPoint::OvWallet_deleteString, [&](std::string_view userName) {
        const auto object = require(wallet, userName);
        object->remove(requiredName(name));
    });
}

WalletError* OvWallet_getStringNames(Wallet* wallet, StringNames** names) {
    return reportedCall(EntryPoint::OvWallet_getStringNames, [&](std::string_view userName) {
        const auto object = require(wallet, userName);
        requireOutput(names);
        *names = handOut<StringNames>(object->names());
    });
}

WalletError* OvWallet_getVersion(Wallet* wallet, UTF8Vector** version) {
    return reportedCall(EntryPoint::OvWallet_getVersion, [&](std::string_view userName) {
        const auto object = require(wallet, userName);
        requireOutput(version);
        object->requireUsable();
        *version = handOut<UTF8Vector>(bytesFrom(kVersion));
    });
}

WalletError* OvWallet_shutdown(Wallet* wallet) {
    return reportedCall(EntryPoint::OvWallet_shutdown,
                        [&](std::string_view userName) { require(wallet, userName)->shutDown(); });
}

}  // namespace Orvanta_OvWallet
