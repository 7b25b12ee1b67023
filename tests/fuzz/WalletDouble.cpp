#include "fuzz/WalletDouble.h"

#include <cstdint>
#include <memory>

#include "doubles/SystemCalls.h"
#include "session/ModuleLocator.h"

using namespace Orvanta_OvWallet;

namespace Orvanta_OvWallet {
struct Wallet {
    char unused;
};
struct WalletError {
    std::string description;
};
struct LockedUTF8Vector {
    std::string bytes;
};
}  // namespace Orvanta_OvWallet

namespace {

int live = 0;
std::size_t mostFetches = 0;
std::vector<std::string> asked;

template <typename Object>
Object* handOut(Object object) {
    ++live;
    return std::make_unique<Object>(std::move(object)).release();
}

template <typename Object>
void takeBack(Object* object) {
    --live;
    const std::unique_ptr<Object> owner(object);
}

WalletError* makeWallet(Wallet** wallet) {
    *wallet = handOut(Wallet{});
    return nullptr;
}

WalletError* getValue(Wallet*, const char* name, LockedUTF8Vector** value) {
    asked.emplace_back(name);
    const auto found = WalletDouble::strings().find(name);
    if (found == WalletDouble::strings().end() || asked.size() > mostFetches) {
        return handOut(WalletError{std::string("no ") + name});
    }
    *value = handOut(LockedUTF8Vector{found->second});
    return nullptr;
}

const char* describe(WalletError* error) {
    return error->description.c_str();
}

std::uint8_t* bytesOf(LockedUTF8Vector* value) {
    return value->bytes.empty() ? nullptr : reinterpret_cast<std::uint8_t*>(value->bytes.data());
}

std::uint32_t sizeOf(LockedUTF8Vector* value) {
    return static_cast<std::uint32_t>(value->bytes.size());
}

void unexpected() {
    std::abort();
}

template <typename Function>
void* addressOf(Function* function) {
    return reinterpret_cast<void*>(function);
}

void* entryPoint(const std::string& name) {
    static const std::map<std::string, void*> kEntryPoints{
        {"OvWalletFactory_generateOvWalletV1", addressOf(makeWallet)},
        {"OvWallet_freeV1", addressOf(takeBack<Wallet>)},
        {"OvWallet_getStringValue", addressOf(getValue)},
        {"OvWallet_getPtrLockedUTF8Vector", addressOf(bytesOf)},
        {"OvWallet_getSizeLockedUTF8Vector", addressOf(sizeOf)},
        {"OvWallet_freeLockedUTF8Vector", addressOf(takeBack<LockedUTF8Vector>)},
        {"OvWallet_getErrorDescription", addressOf(describe)},
        {"OvWallet_freeError", addressOf(takeBack<WalletError>)}};
    const auto found = kEntryPoints.find(name);
    return found == kEntryPoints.end() ? addressOf(unexpected) : found->second;
}

}  // namespace

void WalletDouble::install() {
    static char handle;
    moduleLocationEnabled = false;
    systemCalls().dlopen = [](const char*, int) { return static_cast<void*>(&handle); };
    systemCalls().dlsym = [](void*, const char* name) { return entryPoint(name); };
    systemCalls().dlclose = [](void*) { return 0; };
}

int WalletDouble::liveObjects() {
    return live;
}

std::map<std::string, std::string>& WalletDouble::strings() {
    static std::map<std::string, std::string> instance;
    return instance;
}

void WalletDouble::setMostFetches(std::size_t most) {
    mostFetches = most;
    asked.clear();
}

const std::vector<std::string>& WalletDouble::fetched() {
    return asked;
}
