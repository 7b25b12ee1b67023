// The entry points about the password, the saved key and prompting.
#include <unistd.h>

#include <string>
#include <string_view>

#include "sandbox/library/Calls.h"
#include "sandbox/library/EntryPoints.h"
#include "sandbox/library/Handles.h"
#include "sandbox/store/Terminal.h"

namespace Orvanta_OvWallet {

using namespace Sandbox;

namespace {

using WalletQuestion = bool (WalletObject::*)() const;
using WalletChange = void (WalletObject::*)(const std::string&);

WalletError* answerFlag(EntryPoint user, Wallet* wallet, OpaqueArgument* flag,
                        WalletQuestion question) {
    return reportedCall(user, [&](std::string_view userName) {
        const auto object = require(wallet, userName);
        requireOutput(flag);
        storeFlag(flag, ((*object).*question)());
    });
}

WalletError* changeFromVector(EntryPoint user, Wallet* wallet, LockedUTF8Vector* secret,
                              WalletChange change) {
    return reportedCall(user, [&](std::string_view userName) {
        const auto object = require(wallet, userName);
        ((*object).*change)(textOf(*require(secret, userName)));
    });
}

WalletError* changeFromInput(EntryPoint user, Wallet* wallet, OpaqueArgument* prompt,
                             WalletChange change) {
    return reportedCall(user, [&](std::string_view userName) {
        const auto object = require(wallet, userName);
        ((*object).*change)(readStandardInput(textArgument(prompt)));
    });
}

WalletError* changeFromInputTwice(EntryPoint user, Wallet* wallet, OpaqueArgument* prompt,
                                  OpaqueArgument* secondPrompt, WalletChange change) {
    return reportedCall(user, [&](std::string_view userName) {
        const auto object = require(wallet, userName);
        const std::string password = readStandardInput(textArgument(prompt));
        requireSameTwice(password, readStandardInput(textArgument(secondPrompt)));
        ((*object).*change)(password);
    });
}

}  // namespace

WalletError* OvWallet_checkPasswordEstablished(Wallet* wallet, OpaqueArgument* argument2) {
    return answerFlag(EntryPoint::OvWallet_checkPasswordEstablished, wallet, argument2,
                      &WalletObject::isPasswordEstablished);
}

WalletError* OvWallet_checkPasswordSupplied(Wallet* wallet, OpaqueArgument* argument2) {
    return answerFlag(EntryPoint::OvWallet_checkPasswordSupplied, wallet, argument2,
                      &WalletObject::isPasswordSupplied);
}

WalletError* OvWallet_changePassword(Wallet* wallet, LockedUTF8Vector* password) {
    return changeFromVector(EntryPoint::OvWallet_changePassword, wallet, password,
                            &WalletObject::changePassword);
}

WalletError* OvWallet_changePasswordFromTerminal(Wallet* wallet, OpaqueArgument* argument2,
                                                 OpaqueArgument* argument3) {
    return changeFromInputTwice(EntryPoint::OvWallet_changePasswordFromTerminal, wallet, argument2,
                                argument3, &WalletObject::changePassword);
}

WalletError* OvWallet_supplyPassword(Wallet* wallet, LockedUTF8Vector* password) {
    return changeFromVector(EntryPoint::OvWallet_supplyPassword, wallet, password,
                            &WalletObject::supplyPassword);
}

WalletError* OvWallet_supplyPasswordFromTerminal(Wallet* wallet, OpaqueArgument* argument2) {
    return changeFromInput(EntryPoint::OvWallet_supplyPasswordFromTerminal, wallet, argument2,
                           &WalletObject::supplyPassword);
}

WalletError* OvWallet_forgetPassword(Wallet* wallet) {
    return reportedCall(EntryPoint::OvWallet_forgetPassword, [&](std::string_view userName) {
        require(wallet, userName)->forgetPassword();
    });
}

WalletError* OvWallet_checkSavedKeyEstablished(Wallet* wallet, OpaqueArgument* argument2) {
    return answerFlag(EntryPoint::OvWallet_checkSavedKeyEstablished, wallet, argument2,
                      &WalletObject::isSavedKeyEstablished);
}

WalletError* OvWallet_changeSavedKey(Wallet* wallet, OpaqueArgument* argument2) {
    return changeFromVector(EntryPoint::OvWallet_changeSavedKey, wallet, vectorArgument(argument2),
                            &WalletObject::changeSavedKey);
}

WalletError* OvWallet_changeSavedKeyFromTerminal(Wallet* wallet, OpaqueArgument* argument2) {
    return changeFromInput(EntryPoint::OvWallet_changeSavedKeyFromTerminal, wallet, argument2,
                           &WalletObject::changeSavedKey);
}

WalletError* OvWallet_resetPassword(Wallet* wallet, LockedUTF8Vector* password) {
    return changeFromVector(EntryPoint::OvWallet_resetPassword, wallet, password,
                            &WalletObject::resetPassword);
}

WalletError* OvWallet_resetPasswordFromTerminal(Wallet* wallet, OpaqueArgument* argument2,
                                                OpaqueArgument* argument3) {
    return changeFromInputTwice(EntryPoint::OvWallet_resetPasswordFromTerminal, wallet, argument2,
                                argument3, &WalletObject::resetPassword);
}

WalletError* OvWallet_checkSystemPrompting(Wallet* wallet, OpaqueArgument* argument2) {
    return reportedCall(EntryPoint::OvWallet_checkSystemPrompting, [&](std::string_view userName) {
        const auto object = require(wallet, userName);
        requireOutput(argument2);
        object->requireUsable();
        storeFlag(argument2, ::isatty(STDIN_FILENO) == 1);
    });
}

WalletError* OvWallet_supplyPasswordTty(Wallet* wallet, OpaqueArgument* argument2,
                                        OpaqueArgument* argument3) {
    return reportedCall(EntryPoint::OvWallet_supplyPasswordTty, [&](std::string_view userName) {
        const auto object = require(wallet, userName);
        object->supplyPassword(readTerminal(textArgument(argument2), textArgument(argument3)));
    });
}

WalletError* OvWallet_changePasswordTty(Wallet* wallet, OpaqueArgument* argument2,
                                        OpaqueArgument* argument3, OpaqueArgument* argument4) {
    return reportedCall(EntryPoint::OvWallet_changePasswordTty, [&](std::string_view userName) {
        const auto object = require(wallet, userName);
        const char* const terminal = textArgument(argument4);
        const std::string password = readTerminal(textArgument(argument2), terminal);
        requireSameTwice(password, readTerminal(textArgument(argument3), terminal));
        object->changePassword(password);
    });
}

}  // namespace Orvanta_OvWallet
