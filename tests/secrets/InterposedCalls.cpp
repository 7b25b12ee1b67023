#include "secrets/InterposedCalls.h"

#include <dlfcn.h>
#include <errno.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "secrets/HeapRecorder.h"

namespace {

constexpr const char* kCommand = "/usr/bin/ovwallet";
constexpr const char* kOpenWallet = "OvWalletFactory_generateOvWalletV1";

std::string& command() {
    static std::string target;
    return target;
}
std::string& logged() {
    static std::string text;
    return text;
}

using OpenWallet = void*(void**);
OpenWallet* realOpenWallet = nullptr;

void* openWallet(void** wallet) {
    void* const error = realOpenWallet(wallet);
    InterposedCalls::overwriteUnusedStack();
    return error;
}

void logText(const char* format, std::va_list arguments) {
    char text[4096];
    std::vsnprintf(text, sizeof text, format, arguments);
    logged() += text + std::string("\n");
}

}  // namespace

void InterposedCalls::setCommand(const std::string& target) {
    command() = target;
}

__attribute__((noinline)) void InterposedCalls::overwriteUnusedStack() {
    volatile unsigned char stack[std::size_t{256} << 10];
    for (volatile unsigned char& byte : stack) {
        byte = 0xDD;
    }
}

std::string InterposedCalls::systemLog() {
    return logged();
}

#define EXPORTED extern "C" __attribute__((visibility("default")))

EXPORTED ssize_t readlink(const char* path, char* buffer, std::size_t size) noexcept {
    if (std::strcmp(path, kCommand) != 0) {
        return ::syscall(SYS_readlink, path, buffer, size);
    }
    return static_cast<ssize_t>(command().copy(buffer, size));
}

EXPORTED void syslog(int, const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    logText(format, arguments);
    va_end(arguments);
}

// What a fortified module calls instead.
extern "C" void __syslog_chk(int priority, int flag, const char* format, ...);
EXPORTED void __syslog_chk(int, int, const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    logText(format, arguments);
    va_end(arguments);
}

EXPORTED void* dlsym(void* handle, const char* name) noexcept {
    static const auto real = reinterpret_cast<void* (*)(void*, const char*)>(
        ::dlvsym(RTLD_NEXT, "dlsym", "GLIBC_2.2.5"));
    void* const address = real(handle, name);
    if (address == nullptr || std::strcmp(name, kOpenWallet) != 0) {
        return address;
    }
    realOpenWallet = reinterpret_cast<OpenWallet*>(address);
    return reinterpret_cast<void*>(&openWallet);
}

EXPORTED int mlock(const void* begin, std::size_t size) noexcept {
    const auto address = reinterpret_cast<std::uint64_t>(begin);
    HeapRecorder::notePool({address, address + size});
    return static_cast<int>(::syscall(SYS_mlock, begin, size));
}
