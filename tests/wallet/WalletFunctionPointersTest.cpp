#include "wallet/WalletFunctionPointers.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "doubles/ClientLibraryDouble.h"
#include "doubles/SystemCalls.h"
#include "doubles/thrown.h"
#include "support/OvWalletException.h"

namespace Orvanta_OvWallet::PrivateStuff {
namespace {

struct Row {
    int ordinal;
    const char* name;
};

// The rows, written down a second time.
constexpr Row kRows[] = {
    {1, "OvWallet_getErrorDescription"},
    {2, "OvWallet_getErrorCode"},
    {3, "OvWallet_getStringName"},
    {4, "OvWallet_freeError"},
    {5, "OvWalletFactory_generateOvWalletV1"},
    {6, "OvWalletFactory_generateLocaleOvWalletV1"},
    {7, "OvWallet_freeV1"},
    {8, "OvWallet_allocLockedUTF8Vector"},
    {9, "OvWallet_getPtrLockedUTF8Vector"},
    {10, "OvWallet_getSizeLockedUTF8Vector"},
    {11, "OvWallet_freeLockedUTF8Vector"},
    {12, "OvWallet_getStringValue"},
    {13, "OvWallet_addString"},
    {14, "OvWallet_addStringFromTerminal"},
    {15, "OvWallet_addSavedKeyString"},
    {16, "OvWallet_addSavedKeyStringFromTerminal"},
    {17, "OvWallet_deleteString"},
    {18, "OvWallet_getStringNames"},
    {19, "OvWallet_freeStringNames"},
    {20, "OvWallet_checkPasswordEstablished"},
    {21, "OvWallet_checkPasswordSupplied"},
    {22, "OvWallet_changePassword"},
    {23, "OvWallet_changePasswordFromTerminal"},
    {24, "OvWallet_supplyPassword"},
    {25, "OvWallet_supplyPasswordFromTerminal"},
    {26, "OvWallet_forgetPassword"},
    {27, "OvWallet_checkSavedKeyEstablished"},
    {28, "OvWallet_changeSavedKey"},
    {29, "OvWallet_changeSavedKeyFromTerminal"},
    {30, "OvWallet_resetPassword"},
    {31, "OvWallet_resetPasswordFromTerminal"},
    {33, "OvWallet_shutdown"},
    {34, "OvWallet_getPtrUTF8Vector"},
    {35, "OvWallet_getSizeUTF8Vector"},
    {36, "OvWallet_freeUTF8Vector"},
    {37, "OvWallet_getVersion"},
    {38, "OvWallet_checkSystemPrompting"},
    {39, "OvWallet_supplyPasswordTty"},
    {40, "OvWallet_changePasswordTty"},
    {41, "OvWallet_addPlaintextString"},
    {42, "OvWallet_addPlaintextStringFromTerminal"},
};

std::vector<std::string> expectedNames() {
    std::vector<std::string> names;
    for (const Row& row : kRows) {
        names.push_back(row.name);
    }
    return names;
}

TEST(WalletFunctionPointers, NumberTheirRowsAsTheClientLibraryDoes) {
    std::vector<std::pair<int, std::string>> rows;
#define WALLET_ENTRY(ordinal, discipline, result, name, parameters, arguments) \
    rows.emplace_back(ordinal, #name);
#define WALLET_ENTRY_UNWRAPPED(ordinal, result, name, parameters) rows.emplace_back(ordinal, #name);
#include "wallet/EntryPoints.def"
    ASSERT_EQ(rows.size(), std::size(kRows));
    for (std::size_t i = 0; i < rows.size(); ++i) {
        EXPECT_EQ(rows[i].first, kRows[i].ordinal);
        EXPECT_EQ(rows[i].second, kRows[i].name);
    }
}

TEST(WalletFunctionPointers, AreNullUntilTheLibraryIsLoaded) {
    const WalletFunctionPointers_t& table = walletFunctions();
#define WALLET_ENTRY(ordinal, discipline, result, name, parameters, arguments) \
    EXPECT_EQ(table.name, nullptr);
#define WALLET_ENTRY_UNWRAPPED(ordinal, result, name, parameters) EXPECT_EQ(table.name, nullptr);
#include "wallet/EntryPoints.def"
}

TEST(WalletFunctionPointers, AreResolvedInTheOrderOfTheRowsByTheirExactNames) {
    ClientLibraryDouble library;
    walletFunctions().load();
    EXPECT_EQ(library.resolved(), expectedNames());
    walletFunctions().release();
    walletFunctions().load();
    EXPECT_EQ(library.resolved().size(), 2 * std::size(kRows));
    walletFunctions().release();
}

TEST(WalletFunctionPointers, HoldEachTheAddressOfTheirOwnEntryPoint) {
    ClientLibraryDouble library;
    std::map<std::string, char> addresses;
    systemCalls().dlsym = [&](void*, const char* name) -> void* { return &addresses[name]; };
    walletFunctions().load();
    const WalletFunctionPointers_t& table = walletFunctions();
#define WALLET_ENTRY(ordinal, discipline, result, name, parameters, arguments) \
    EXPECT_EQ(reinterpret_cast<void*>(table.name), &addresses[#name]);
#define WALLET_ENTRY_UNWRAPPED(ordinal, result, name, parameters) \
    EXPECT_EQ(reinterpret_cast<void*>(table.name), &addresses[#name]);
#include "wallet/EntryPoints.def"
    EXPECT_EQ(addresses.size(), std::size(kRows));
}

TEST(WalletFunctionPointers, AreAllRequired) {
    for (const Row& row : kRows) {
        ClientLibraryDouble library;
        library.missing = row.name;
        EXPECT_EQ(thrownBy<OvWalletException>([] { walletFunctions().load(); }),
                  std::string("Cannot find the \"") + row.name + "\" function in the \"" +
                      ClientLibraryDouble::kPath + "\" library because: why");
        EXPECT_THAT(library.takeEvents(),
                    testing::ElementsAre(std::string("dlopen ") + ClientLibraryDouble::kPath,
                                         "dlerror", "dlclose"));
        EXPECT_EQ(library.resolved().back(), row.name) << "nothing is looked up after it";
        EXPECT_TRUE(walletFunctions().useCount().isZero());
    }
}

TEST(WalletFunctionPointers, AreOneTablePerProcess) {
    EXPECT_EQ(&walletFunctions(), &walletFunctions());
}

}  // namespace
}  // namespace Orvanta_OvWallet::PrivateStuff
