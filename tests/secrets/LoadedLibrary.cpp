#include "secrets/LoadedLibrary.h"

#include <dlfcn.h>
#include <jni.h>
#include <link.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>

#include "doubles/PrivateModuleDir.h"
#include "secrets/HeapRecorder.h"
#include "secrets/InterposedCalls.h"

namespace fs = std::filesystem;

namespace {

constexpr const char* kEntryPoint =
    "Java_com_orvanta_connector_common_ovwallet_WalletCaller_performSubstitutions";
constexpr const char* kClientDirectory = "/orvanta/client/14.10/ovwallet/redhatlinux-x8664/";

using NativeMethod = void(JNIEnv*, jclass, jobject, jstring);
NativeMethod* nativeMethod = nullptr;

void* open(const std::string& file) {
    void* const handle = ::dlopen(file.c_str(), RTLD_NOW);
    if (handle == nullptr) {
        throw std::runtime_error(::dlerror());
    }
    return handle;
}

void* find(void* handle, const char* name) {
    void* const address = ::dlsym(handle, name);
    if (address == nullptr) {
        throw std::runtime_error(::dlerror());
    }
    return address;
}

// The module in which the address lies, from its first segment to its last.
MemoryRange moduleOf(const void* address) {
    struct Wanted {
        std::uint64_t address;
        MemoryRange range;
    } wanted{reinterpret_cast<std::uint64_t>(address), {0, 0}};
    ::dl_iterate_phdr(
        [](dl_phdr_info* module, std::size_t, void* data) {
            Wanted& result = *static_cast<Wanted*>(data);
            MemoryRange range{UINT64_MAX, 0};
            for (int i = 0; i < module->dlpi_phnum; ++i) {
                const ElfW(Phdr)& segment = module->dlpi_phdr[i];
                if (segment.p_type == PT_LOAD) {
                    const std::uint64_t begin = module->dlpi_addr + segment.p_vaddr;
                    range.begin = std::min(range.begin, begin);
                    range.end = std::max(range.end, begin + segment.p_memsz);
                }
            }
            if (range.contains(result.address)) {
                result.range = range;
            }
            return 0;
        },
        &wanted);
    return wanted.range;
}

// Starts the program again with all of its functions bound at once. Binding one at its first call
// saves the processor's registers on the stack, and they hold whatever was copied last.
__attribute__((constructor)) void bindAtOnce(int, char** arguments, char**) {
    if (::getenv("LD_BIND_NOW") == nullptr) {
        ::setenv("LD_BIND_NOW", "1", 1);
        ::execv("/proc/self/exe", arguments);
        std::abort();
    }
}

}  // namespace

extern "C" JNIEXPORT void JNICALL
Java_com_orvanta_connector_common_ovwallet_WalletCaller_performSubstitutions(
    JNIEnv* env, jclass receiver, jobject jobContext, jstring privateTempDir) {
    nativeMethod(env, receiver, jobContext, privateTempDir);
}

void LoadedLibrary::start() {
    const std::string base = sandboxBase() + kClientDirectory;
    InterposedCalls::setCommand(base + "ovwallet");
    const std::string file = privateModuleDir() + "libWalletCaller-redhatlinux-x8664.so";
    const char* const other = std::getenv("WALLETCALLER_LIBRARY");
    fs::copy_file(other == nullptr ? WALLETCALLER_LIBRARY : other, file);
    void* const address = find(open(file), kEntryPoint);
    nativeMethod = reinterpret_cast<NativeMethod*>(address);
    void* const clientLibrary = open(base + "libovwallet.so");
    HeapRecorder::start(moduleOf(reinterpret_cast<const void*>(&LoadedLibrary::start)),
                        moduleOf(find(clientLibrary, "OvWalletSandbox_failCall")),
                        moduleOf(address));
}
