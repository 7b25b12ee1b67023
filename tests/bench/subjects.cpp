#include "bench/subjects.h"

#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "securemem/LockedPagePool.h"
#include "securemem/SecureByteVector.h"
#include "session/ModuleLocator.h"
#include "substitution/referenceExpansion.h"
#include "support/formatMessage.h"
#include "wallet/WalletApi.h"

using namespace Orvanta_OvWallet;

namespace {

std::array<std::uint8_t, 24> value{'a', ' ', 'v', 'a', 'l', 'u', 'e'};
char object;

WalletError* makeWallet(Wallet** wallet) {
    *wallet = reinterpret_cast<Wallet*>(&object);
    return nullptr;
}

WalletError* getValue(Wallet*, const char*, LockedUTF8Vector** vector) {
    *vector = reinterpret_cast<LockedUTF8Vector*>(&object);
    return nullptr;
}

std::uint8_t* bytesOf(LockedUTF8Vector*) {
    return value.data();
}

std::uint32_t sizeOf(LockedUTF8Vector*) {
    return value.size();
}

void freeVector(LockedUTF8Vector*) {}

void* entryPoint(std::string_view name) {
    if (name == "OvWalletFactory_generateOvWalletV1") {
        return reinterpret_cast<void*>(makeWallet);
    }
    if (name == "OvWallet_getStringValue") {
        return reinterpret_cast<void*>(getValue);
    }
    if (name == "OvWallet_getPtrLockedUTF8Vector") {
        return reinterpret_cast<void*>(bytesOf);
    }
    if (name == "OvWallet_getSizeLockedUTF8Vector") {
        return reinterpret_cast<void*>(sizeOf);
    }
    if (name == "OvWallet_freeLockedUTF8Vector") {
        return reinterpret_cast<void*>(freeVector);
    }
    return reinterpret_cast<void*>(std::abort);
}

}  // namespace

// The linker lets the library call these.
extern "C" void* __wrap_dlopen(const char*, int) {
    return &object;
}
extern "C" void* __wrap_dlsym(void*, const char* name) {
    return entryPoint(name);
}

Wallet* CheapWallet::open() {
    static Wallet* const wallet = [] {
        moduleLocationEnabled = false;
        Wallet* made = nullptr;
        if (OvWalletFactory_generateOvWalletV1(&made) != nullptr) {
            std::abort();
        }
        return made;
    }();
    return wallet;
}

std::span<const std::uint8_t> CheapWallet::fetchPlainly(const char* name) {
    LockedUTF8Vector* vector = nullptr;
    getValue(nullptr, name, &vector);
    return {bytesOf(vector), sizeOf(vector)};
}

std::string textWithReferences(std::size_t size, std::size_t references) {
    std::string text;
    for (std::size_t number = 1; number <= references; ++number) {
        text.resize(number * size / (references + 1), 'x');
        text += "$ovwallet(user.prod)";
    }
    text.resize(size, 'x');
    return text;
}

void expand(const std::string& text, Wallet* wallet) {
    SecureByteVector bytes(text.size());
    text.copy(reinterpret_cast<char*>(bytes.begin()), text.size());
    expandReferences(bytes, wallet, {});
}

// The first block makes the region, the second one stays in it.
RoomForTexts::RoomForTexts() {
    constexpr std::uint64_t kRoom = std::uint64_t{8} << 20;
    std::uint8_t* const room = LockedPagePool::lockedAllocate(kRoom);
    block_ = LockedPagePool::lockedAllocate(1);
    LockedPagePool::lockedRelease(room, kRoom);
}

RoomForTexts::~RoomForTexts() {
    LockedPagePool::lockedRelease(block_, 1);
}

MapFile::MapFile(int mappings)
    : descriptor_(::memfd_create("map", 0)),
      pathname_("/proc/self/fd/" + std::to_string(descriptor_)) {
    constexpr std::uint64_t kLength = 0x28000;
    std::uint64_t begin = 0x7f0c1a200000;
    for (int number = 0; number < mappings; ++number, begin += kLength) {
        ::dprintf(descriptor_,
                  "%" PRIx64 "-%" PRIx64
                  " r-xp 00028000 fe:01 1835      /usr/lib/jvm/java/lib/library-%04d.so\n",
                  begin, begin + kLength, number);
    }
    lastAddress_ = begin - 1;
}

MapFile::~MapFile() {
    ::close(descriptor_);
}

std::string formatFailure() {
    return formatMessage("Cannot read the \"%s\" symbolic link (errno = %s).", "/usr/bin/ovwallet",
                         "No such file or directory");
}
