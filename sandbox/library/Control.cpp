#include "sandbox/OvWalletSandbox.h"

#include <cstdint>
#include <optional>
#include <string>

#include "sandbox/library/Accounts.h"
#include "sandbox/library/Handles.h"

namespace Orvanta_OvWallet {

using namespace Sandbox;

namespace {

std::optional<EntryPoint> entryPointFrom(const char* name) {
    return name == nullptr ? std::nullopt : entryPointNamed(name);
}

}  // namespace

void OvWalletSandbox_setHome(const char* directory) {
    setDirectory(directory == nullptr ? std::nullopt : std::optional<std::string>(directory));
}

std::int64_t OvWalletSandbox_counter(const char* name) {
    return name == nullptr ? -1 : readCounter(name).value_or(-1);
}

void OvWalletSandbox_resetLedger() {
    resetCurrentLedger();
}

std::int32_t OvWalletSandbox_failCall(const char* entry, std::uint64_t k, const char* text) {
    const auto entryPoint = entryPointFrom(entry);
    return entryPoint && failCall(*entryPoint, k, text == nullptr ? "" : text) ? 0 : -1;
}

std::int32_t OvWalletSandbox_delayCalls(const char* entry, std::uint64_t microseconds) {
    const auto entryPoint = entryPointFrom(entry);
    if (!entryPoint) {
        return -1;
    }
    delayCalls(*entryPoint, microseconds);
    return 0;
}

std::int32_t OvWalletSandbox_throwFromCalls(const char* entry, std::uint32_t kind) {
    const auto entryPoint = entryPointFrom(entry);
    if (!entryPoint || kind > static_cast<std::uint32_t>(ThrowKind::otherType)) {
        return -1;
    }
    throwFromCalls(*entryPoint, static_cast<ThrowKind>(kind));
    return 0;
}

std::uint64_t OvWalletSandbox_nameCount(StringNames* names) {
    const auto list = lookUp(names, "OvWalletSandbox_nameCount");
    return list == nullptr ? 0 : list->size();
}

const char* OvWalletSandbox_nameAt(StringNames* names, std::uint64_t index) {
    const auto list = lookUp(names, "OvWalletSandbox_nameAt");
    return list == nullptr || index >= list->size() ? nullptr : (*list)[index].c_str();
}

}  // namespace Orvanta_OvWallet
