#include "wallet/WalletApi.h"

#include <functional>
#include <iterator>
#include <sstream>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "doubles/ClientLibraryDouble.h"
#include "wallet/WalletFunctionPointers.h"

namespace Orvanta_OvWallet {
namespace {

using PrivateStuff::walletFunctions;
using testing::ElementsAre;

// The entry points, their disciplines and how many arguments they take, written down a second time.
struct Row {
    const char* name;
    const char* discipline;
    std::size_t argumentCount;
};
constexpr Row kWrapped[] = {
    {"OvWallet_getErrorDescription", "error accessor", 1},
    {"OvWallet_getErrorCode", "error accessor", 1},
    {"OvWallet_getStringName", "plain under lock", 1},
    {"OvWallet_freeError", "free error", 1},
    {"OvWalletFactory_generateOvWalletV1", "load first", 1},
    {"OvWalletFactory_generateLocaleOvWalletV1", "load first", 2},
    {"OvWallet_freeV1", "release", 1},
    {"OvWallet_allocLockedUTF8Vector", "load first", 2},
    {"OvWallet_getPtrLockedUTF8Vector", "direct", 1},
    {"OvWallet_getSizeLockedUTF8Vector", "direct", 1},
    {"OvWallet_freeLockedUTF8Vector", "release", 1},
    {"OvWallet_getStringValue", "retain always", 3},
    {"OvWallet_addString", "retain on error", 3},
    {"OvWallet_addStringFromTerminal", "retain on error", 3},
    {"OvWallet_addSavedKeyString", "retain on error", 3},
    {"OvWallet_addSavedKeyStringFromTerminal", "retain on error", 3},
    {"OvWallet_deleteString", "retain on error", 2},
    {"OvWallet_getStringNames", "retain always", 2},
    {"OvWallet_freeStringNames", "release", 1},
    {"OvWallet_checkPasswordEstablished", "retain on error", 2},
    {"OvWallet_checkPasswordSupplied", "retain on error", 2},
    {"OvWallet_changePassword", "retain on error", 2},
    {"OvWallet_changePasswordFromTerminal", "retain on error", 3},
    {"OvWallet_supplyPassword", "retain on error", 2},
    {"OvWallet_supplyPasswordFromTerminal", "retain on error", 2},
    {"OvWallet_forgetPassword", "retain on error", 1},
    {"OvWallet_checkSavedKeyEstablished", "retain on error", 2},
    {"OvWallet_changeSavedKey", "retain on error", 2},
    {"OvWallet_changeSavedKeyFromTerminal", "retain on error", 2},
    {"OvWallet_resetPassword", "retain on error", 2},
    {"OvWallet_resetPasswordFromTerminal", "retain on error", 3},
    {"OvWallet_shutdown", "retain on error", 1},
    {"OvWallet_getPtrUTF8Vector", "direct", 1},
    {"OvWallet_getSizeUTF8Vector", "direct", 1},
    {"OvWallet_freeUTF8Vector", "release", 1},
    {"OvWallet_getVersion", "retain always", 2},
    {"OvWallet_checkSystemPrompting", "retain on error", 2},
    {"OvWallet_supplyPasswordTty", "retain always", 3},
    {"OvWallet_changePasswordTty", "retain on error", 4},
};

// A different value in every place, all bits of it of use.
template <typename Argument>
Argument argumentAt(std::uint64_t place) {
    if constexpr (std::is_pointer_v<Argument>) {
        return reinterpret_cast<Argument>(0xa1b2c3d4e5f60010 + place);
    } else {
        static_assert(std::is_same_v<Argument, std::uint32_t>);
        return static_cast<Argument>(0xfedcba90 + place);
    }
}

struct Call {
    std::string name;
    std::size_t argumentCount;
    std::string event;             // the entry point's own call
    std::function<void()> invoke;  // through the wrapper
    std::function<bool()> resultIsUnchanged;
};

template <typename Result>
Result expectedResult() {
    const ClientLibraryDouble& library = ClientLibraryDouble::current();
    if constexpr (std::is_same_v<Result, WalletError*>) {
        return library.error;
    } else if constexpr (std::is_same_v<Result, const char*>) {
        return library.text;
    } else if constexpr (std::is_same_v<Result, std::uint8_t*>) {
        return library.bytes;
    } else if constexpr (std::is_same_v<Result, std::int32_t>) {
        return library.code;
    } else {
        return library.size;
    }
}

template <typename Argument>
std::string shown(Argument argument) {
    std::ostringstream text;
    if constexpr (std::is_pointer_v<Argument>) {
        text << "0x" << std::hex << reinterpret_cast<std::uint64_t>(argument);
    } else {
        text << "0x" << std::hex << argument;
    }
    return text.str();
}

template <typename Result, typename... Arguments, std::size_t... Places>
Call callOf(const char* name, Result (*wrapper)(Arguments...), std::index_sequence<Places...>) {
    std::string event = std::string("call ") + name + "(";
    ((event += (Places == 0 ? "" : ", ") + shown(argumentAt<Arguments>(Places))), ...);
    const auto resultIsUnchanged = [wrapper] {
        if constexpr (std::is_void_v<Result>) {
            wrapper(argumentAt<Arguments>(Places)...);
            return true;
        } else {
            return wrapper(argumentAt<Arguments>(Places)...) == expectedResult<Result>();
        }
    };
    return {name, sizeof...(Arguments), event + ")",
            [wrapper] { wrapper(argumentAt<Arguments>(Places)...); }, resultIsUnchanged};
}

template <typename Result, typename... Arguments>
Call callOf(const char* name, Result (*wrapper)(Arguments...)) {
    return callOf(name, wrapper, std::index_sequence_for<Arguments...>());
}

std::vector<Call> wrapperCalls() {
    return {
#define WALLET_ENTRY(ordinal, discipline, result, name, parameters, arguments) \
    callOf(#name, &Orvanta_OvWallet::name),
#include "wallet/EntryPoints.def"
    };
}

class WalletApi : public testing::Test {
  protected:
    WalletApi() {
        library_.error = reinterpret_cast<WalletError*>(0x7001);
        library_.text = reinterpret_cast<const char*>(0x7002);
        library_.bytes = reinterpret_cast<std::uint8_t*>(0x7003);
        library_.code = -7004;
        library_.size = 0xf0007005;
        // The table is filled from here on, whether the library is open or not.
        walletFunctions().load();
        walletFunctions().release();
        library_.takeEvents();
    }

    ClientLibraryDouble library_;
};

TEST_F(WalletApi, HasOneWrapperPerEntryPointButTwo) {
    const std::vector<Call> calls = wrapperCalls();
    ASSERT_EQ(calls.size(), std::size(kWrapped));
    for (std::size_t i = 0; i < calls.size(); ++i) {
        EXPECT_EQ(calls[i].name, kWrapped[i].name);
        EXPECT_EQ(calls[i].argumentCount, kWrapped[i].argumentCount) << calls[i].name;
    }
}

TEST_F(WalletApi, EachWrapperReachesTheEntryPointOfItsOwnNameWithArgumentsAndResultUnchanged) {
    for (const Call& call : wrapperCalls()) {
        walletFunctions().load();
        library_.takeEvents();
        EXPECT_TRUE(call.resultIsUnchanged()) << call.name;
        std::vector<std::string> calls;
        for (const std::string& event : library_.takeEvents()) {
            if (event.starts_with("call ")) {
                calls.push_back(event);
            }
        }
        EXPECT_THAT(calls, ElementsAre(call.event));
        while (!walletFunctions().useCount().isZero()) {
            walletFunctions().release();
        }
    }
}

constexpr const char* kOpen = "dlopen /14.10/ovwallet/redhatlinux-x8664/libovwallet.so";

// What a call through the discipline does with the library closed, or open with one use for
// those that give one back.
std::vector<std::string> expectedEvents(const std::string& discipline, const std::string& call,
                                        bool succeeds) {
    if (discipline == "load first") {
        return {"lock", kOpen, call, "unlock"};
    }
    if (discipline == "retain always" || (discipline == "retain on error" && !succeeds)) {
        return {call, "lock", kOpen, "unlock"};
    }
    if (discipline == "retain on error" || discipline == "direct") {
        return {call};
    }
    if (discipline == "release") {
        return {call, "lock", "dlclose", "unlock"};
    }
    if (discipline == "free error") {
        return {"lock", call, "dlclose", "unlock"};
    }
    return {"lock", call, "unlock"};  // error accessor, plain under lock
}

TEST_F(WalletApi, EachWrapperFollowsItsDiscipline) {
    const std::vector<Call> calls = wrapperCalls();
    ASSERT_EQ(calls.size(), std::size(kWrapped));
    for (const bool succeeds : {true, false}) {
        library_.error = succeeds ? nullptr : reinterpret_cast<WalletError*>(0x7001);
        for (std::size_t i = 0; i < calls.size(); ++i) {
            const std::string discipline = kWrapped[i].discipline;
            if (discipline == "release" || discipline == "free error") {
                walletFunctions().load();
                library_.takeEvents();
            }
            calls[i].invoke();
            EXPECT_EQ(library_.takeEvents(), expectedEvents(discipline, calls[i].event, succeeds))
                << calls[i].name << (succeeds ? " succeeding" : " failing");
            while (!walletFunctions().useCount().isZero()) {
                walletFunctions().release();
            }
            library_.takeEvents();
        }
    }
}

}  // namespace
}  // namespace Orvanta_OvWallet
