// The entry points as an enumeration and as names, in the order of the one list of them.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <string_view>

namespace Orvanta_OvWallet::Sandbox {

enum class EntryPoint : std::size_t {
#define WALLET_ENTRY(ordinal, discipline, result, name, parameters, arguments) name,
#define WALLET_ENTRY_UNWRAPPED(ordinal, result, name, parameters) name,
#include "wallet/EntryPoints.def"
};

inline constexpr auto kEntryPointNames = std::to_array<std::string_view>({
#define WALLET_ENTRY(ordinal, discipline, result, name, parameters, arguments) #name,
#define WALLET_ENTRY_UNWRAPPED(ordinal, result, name, parameters) #name,
#include "wallet/EntryPoints.def"
});

inline constexpr std::size_t kEntryPointCount = kEntryPointNames.size();
static_assert(kEntryPointCount == 41, "every table of the sandbox has one row per entry point");

constexpr std::size_t indexOf(EntryPoint entryPoint) {
    return static_cast<std::size_t>(entryPoint);
}

constexpr std::string_view nameOf(EntryPoint entryPoint) {
    return kEntryPointNames[indexOf(entryPoint)];
}

inline std::optional<EntryPoint> entryPointNamed(std::string_view name) {
    const auto found = std::find(kEntryPointNames.begin(), kEntryPointNames.end(), name);
    if (found == kEntryPointNames.end()) {
        return std::nullopt;
    }
    return static_cast<EntryPoint>(found - kEntryPointNames.begin());
}

}  // namespace Orvanta_OvWallet::Sandbox
