#include "session/ModuleLocator.h"

#include <link.h>

#include <cstdint>
#include <optional>

#include "session/InstallationLocator.h"
#include "session/memoryMap.h"
#include "support/NeverDestroyed.h"
#include "support/OvWalletException.h"

namespace Orvanta_OvWallet {

// Deliberate: a switch that nothing switches; off, no module is looked for and no file is opened.
bool moduleLocationEnabled = true;

namespace {

constexpr const char* kNotFound =
    "Attempt to locate the current module using dl_iterate_phdr() failed.";
constexpr const char* kNoPathname =
    "Attempt to locate the current module using dl_iterate_phdr() yielded an empty pathname.";

// Its address lies in the module that is looked for.
void anchor() {}

std::uint64_t anchorAddress() {
    return reinterpret_cast<std::uint64_t>(&anchor);
}

// Sets the name and ends the walk at the module with a segment that covers the anchor.
int visitModule(dl_phdr_info* module, std::size_t, void* name) {
    for (ElfW(Half) i = 0; i < module->dlpi_phnum; ++i) {
        const ElfW(Phdr)& segment = module->dlpi_phdr[i];
        const std::uint64_t begin = module->dlpi_addr + segment.p_vaddr;
        if (begin <= anchorAddress() && anchorAddress() < begin + segment.p_memsz) {
            *static_cast<const char**>(name) = module->dlpi_name;
            return 1;
        }
    }
    return 0;
}

// The linker keeps the name for as long as the module is loaded, and so while this code runs.
std::string pathnameFromLinker() {
    const char* name = nullptr;
    if (::dl_iterate_phdr(visitModule, static_cast<void*>(&name)) == 0) {
        throw OvWalletException(kNotFound);
    }
    return name;
}

}  // namespace

std::string& ModuleLocator() {
    static NeverDestroyed<std::string> clientDirString;
    std::string& clientDir = *clientDirString;
    if (!moduleLocationEnabled) {
        return clientDir;
    }
    std::string mapMessage;
    if (const std::optional<std::string> pathname =
            pathnameMappedAt(anchorAddress(), "/proc/self/maps")) {
        mapMessage = InstallationLocator(*pathname, clientDir);
        if (mapMessage.empty()) {
            return clientDir;
        }
    }
    // A deleted file is marked in the map's name, not in the linker's; and there may be no map.
    const std::string pathname = pathnameFromLinker();
    if (pathname.empty()) {
        throw OvWalletException(mapMessage.empty() ? kNoPathname : mapMessage);
    }
    const std::string message = InstallationLocator(pathname, clientDir);
    if (!message.empty()) {
        throw OvWalletException(message);
    }
    return clientDir;
}

}  // namespace Orvanta_OvWallet
