// A shared module that holds our code, as the JVM loads it, with one function to call from outside.
//
// It has a double of its own for fopen: the test program's doubles do not reach into a module.
#include <cstdio>
#include <cstring>
#include <exception>

#include "session/ModuleLocator.h"

namespace {

bool memoryMapIsMissing = false;

}  // namespace

extern "C" {

std::FILE* __real_fopen(const char* path, const char* mode);
std::FILE* __wrap_fopen(const char* path, const char* mode);

std::FILE* __wrap_fopen(const char* path, const char* mode) {
    const bool isMemoryMap = std::strcmp(path, "/proc/self/maps") == 0;
    return isMemoryMap && memoryMapIsMissing ? nullptr : __real_fopen(path, mode);
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
