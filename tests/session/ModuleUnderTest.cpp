// A shared module that holds our code, as the JVM loads it, with one function to call from outside.
//
// It has a double of its own for open: the test program's doubles do not reach into a module.
#include <cstdio>
#include <cstring>
#include <exception>

#include "session/ModuleLocator.h"

namespace {

bool memoryMapIsMissing = false;

}  // namespace

extern "C" {

int __real_open(const char* path, int flags);
int __wrap_open(const char* path, int flags);

int __wrap_open(const char* path, int flags) {
    const bool isMemoryMap = std::strcmp(path, "/proc/self/maps") == 0;
    return isMemoryMap && memoryMapIsMissing ? -1 : __real_open(path, flags);
}

[[gnu::visibility("default")]] void locateModule(bool withMemoryMap, char* text, std::size_t size);

// Writes the client directory, or "failed: " and why, NUL-terminated.
void locateModule(bool withMemoryMap, char* text, std::size_t size) {
    memoryMapIsMissing = !withMemoryMap;
    try {
        std::snprintf(text, size, "%s", Orvanta_OvWallet::ModuleLocator().c_str());
    } catch (const std::exception& exception) {
        std::snprintf(text, size, "failed: %s", exception.what());
    }
}

}  // extern "C"
