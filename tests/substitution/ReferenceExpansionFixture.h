// Texts expanded with the sandbox wallet, as a test fixture.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "doubles/PrivateModuleDir.h"
#include "doubles/SandboxWallet.h"
#include "doubles/thrown.h"
#include "substitution/ExactBytes.h"
#include "substitution/referenceExpansion.h"
#include "wallet/WalletFunctionPointers.h"
#include "wallet/WalletOwner.h"

namespace Orvanta_OvWallet {

using Names = std::vector<std::string>;

// What the client library does in place of fetching a string, if set.
inline std::function<WalletError*(const std::string& name, LockedUTF8Vector** value)> fetch;

// A value as the client library makes one.
inline LockedUTF8Vector* valueOf(const std::string& text) {
    LockedUTF8Vector* value = nullptr;
    PrivateStuff::walletFunctions().OvWallet_allocLockedUTF8Vector(
        &value, static_cast<std::uint32_t>(text.size()));
    text.copy(reinterpret_cast<char*>(
                  PrivateStuff::walletFunctions().OvWallet_getPtrLockedUTF8Vector(value)),
              text.size());
    return value;
}

class ReferenceExpansion : public ::testing::Test {
  protected:
    ReferenceExpansion() { linkInstallation(sandboxBase()); }

    ~ReferenceExpansion() override { EXPECT_EQ(sandbox_.held(), heldAtEnd_); }

    // The text expanded with a wallet of its own, or "failed: " and why.
    std::string expanded(const std::string& text) {
        Wallet* made = nullptr;
        EXPECT_EQ(OvWalletFactory_generateOvWalletV1(&made), nullptr);
        const OwnedWallet wallet(made);
        useFetch();
        ExactBytes id(databaseId_);
        ExactBytes mechanism(logonMechanism_);
        SecureByteVector bytes(0);
        insert(bytes, text);
        return outcomeOf([&]() -> std::string {
            expandReferences(bytes, wallet.get(), {id.span(), mechanism.span()});
            return {bytes.begin(), bytes.end()};
        });
    }

    static void insert(SecureByteVector& bytes, const std::string& text) {
        const auto* const first = reinterpret_cast<const std::uint8_t*>(text.data());
        bytes.insert(bytes.end(), first, first + text.size());
    }

    static void useFetch() {
        if (fetch) {
            PrivateStuff::walletFunctions().OvWallet_getStringValue = [](Wallet*, const char* name,
                                                                         LockedUTF8Vector** value) {
                return fetch(name, value);
            };
        }
    }

    SandboxWallet sandbox_;
    std::string databaseId_ = "dbhost";
    std::string logonMechanism_ = "OV2";
    std::string heldAtEnd_;
};

}  // namespace Orvanta_OvWallet
