#include "doubles/ClientLibraryDouble.h"

#include <dlfcn.h>

#include <map>
#include <sstream>
#include <type_traits>
#include <utility>

#include "doubles/SystemCalls.h"
#include "session/ModuleLocator.h"
#include "wallet/WalletFunctionPointers.h"

using namespace Orvanta_OvWallet;

namespace {

ClientLibraryDouble* currentLibrary = nullptr;

template <typename Argument>
std::uint64_t number(Argument argument) {
    if constexpr (std::is_pointer_v<Argument>) {
        return reinterpret_cast<std::uint64_t>(argument);
    } else {
        return argument;
    }
}

template <typename Result>
Result answer() {
    const ClientLibraryDouble& library = ClientLibraryDouble::current();
    if constexpr (std::is_same_v<Result, WalletError*>) {
        return library.error;
    } else if constexpr (std::is_same_v<Result, const char*>) {
        return library.text;
    } else if constexpr (std::is_same_v<Result, std::uint8_t*>) {
        return library.bytes;
    } else if constexpr (std::is_same_v<Result, std::int32_t>) {
        return library.code;
    } else if constexpr (std::is_same_v<Result, std::uint32_t>) {
        return library.size;
    }
}

// One entry point per slot of the table, made from the slot's type alone: what the wrappers do with
// their arguments is under test.
template <auto Slot>
const char* nameOf = nullptr;

template <auto Slot, typename Result, typename... Arguments>
Result entryPoint(Arguments... arguments) {
    ClientLibraryDouble::current().called(nameOf<Slot>, {number(arguments)...});
    return answer<Result>();
}

using Table = PrivateStuff::WalletFunctionPointers_t;

template <auto Slot, typename Result, typename... Arguments>
void* addressOf(const char* name, Result (*Table::*)(Arguments...)) {
    nameOf<Slot> = name;
    return reinterpret_cast<void*>(&entryPoint<Slot, Result, Arguments...>);
}

const std::map<std::string, void*>& addresses() {
    static const std::map<std::string, void*> known{
#define WALLET_ENTRY(ordinal, discipline, result, name, parameters, arguments) \
    {#name, addressOf<&Table::name>(#name, &Table::name)},
#define WALLET_ENTRY_UNWRAPPED(ordinal, result, name, parameters) \
    {#name, addressOf<&Table::name>(#name, &Table::name)},
#include "wallet/EntryPoints.def"
    };
    return known;
}

}  // namespace

ClientLibraryDouble::ClientLibraryDouble() {
    currentLibrary = this;
    moduleLocationEnabled = false;
    replaceLoader();
    lock.note = [this](const std::string& event) { note(event); };
}

ClientLibraryDouble::~ClientLibraryDouble() {
    systemCalls() = SystemCalls{};
    currentLibrary = nullptr;
}

ClientLibraryDouble& ClientLibraryDouble::current() {
    return *currentLibrary;
}

void* ClientLibraryDouble::handle() {
    static char object;
    return &object;
}

std::vector<std::string> ClientLibraryDouble::takeEvents() {
    return std::exchange(events_, {});
}

void ClientLibraryDouble::called(const std::string& entryPoint,
                                 const std::vector<std::uint64_t>& arguments) {
    std::ostringstream event;
    event << "call " << entryPoint << "(" << std::hex;
    for (const char* separator = ""; const std::uint64_t argument : arguments) {
        event << separator << "0x" << argument;
        separator = ", ";
    }
    event << ")";
    note(event.str());
    if (onCall) {
        onCall(entryPoint);
    }
}

void ClientLibraryDouble::replaceLoader() {
    systemCalls().dlopen = [this](const char* path, int mode) -> void* {
        note(std::string("dlopen ") + path + (mode == RTLD_LAZY ? "" : " in another mode"));
        return openFailures > 0 && openFailures-- > 0 ? nullptr : handle();
    };
    systemCalls().dlsym = [this](void* library, const char* name) -> void* {
        resolved_.push_back(name);
        return library == handle() && name != missing ? addresses().at(name) : nullptr;
    };
    systemCalls().dlclose = [this](void* library) {
        note(library == handle() ? "dlclose" : "dlclose of another handle");
        return closeFailures > 0 && closeFailures-- > 0 ? 1 : 0;
    };
    systemCalls().dlerror = [this]() {
        note("dlerror");
        return const_cast<char*>(reason);
    };
}
