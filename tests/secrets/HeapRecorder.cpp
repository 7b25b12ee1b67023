#include "secrets/HeapRecorder.h"

#include <errno.h>
#include <execinfo.h>
#include <malloc.h>

#include <atomic>
#include <cstring>
#include <new>

// The functions that are on the stack when the owner of a block is looked for.
#define RECORDER __attribute__((section("heap_recorder")))

extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* block);
extern const char __start_heap_recorder[];
extern const char __stop_heap_recorder[];
}

namespace {

constexpr std::size_t kSlots = std::size_t{1} << 18;
constexpr std::uint64_t kFreeSlot = 0;
constexpr std::uint64_t kUsedBefore = 1;

// A hash table of live blocks, in memory of its own.
HeapBlock table[kSlots];
std::atomic_flag tableIsBusy = ATOMIC_FLAG_INIT;
std::atomic<bool> started = false;
thread_local bool isRecording = false;

MemoryRange testModule{};
MemoryRange clientLibraryModule{};
MemoryRange libraryModule{};
HeapRecorder::FreedWithMarker freed;
std::size_t blocksOfLibrary = 0;

class TableLock {
  public:
    TableLock() {
        while (tableIsBusy.test_and_set(std::memory_order_acquire)) {
        }
    }
    ~TableLock() { tableIsBusy.clear(std::memory_order_release); }
    TableLock(const TableLock&) = delete;
    TableLock& operator=(const TableLock&) = delete;
};

HeapBlock* slotOf(std::uint64_t address) {
    std::size_t index = (address >> 4) * 0x9E3779B97F4A7C15 >> 46;
    while (table[index].begin != kFreeSlot && table[index].begin != address) {
        index = (index + 1) % kSlots;
    }
    return &table[index];
}

bool isRecorder(std::uint64_t address) {
    return reinterpret_cast<std::uint64_t>(__start_heap_recorder) <= address &&
           address < reinterpret_cast<std::uint64_t>(__stop_heap_recorder);
}

RECORDER Owner ownerOnStack() {
    constexpr int kMostFrames = 64;
    void* frames[kMostFrames];
    const int count = ::backtrace(frames, kMostFrames);
    for (int i = 0; i < count; ++i) {
        const auto address = reinterpret_cast<std::uint64_t>(frames[i]);
        if (libraryModule.contains(address)) {
            return Owner::library;
        }
        if (clientLibraryModule.contains(address)) {
            return Owner::clientLibrary;
        }
        if (testModule.contains(address) && !isRecorder(address)) {
            return Owner::test;
        }
    }
    return Owner::others;
}

RECORDER void* record(void* block, std::size_t size) {
    if (block == nullptr || isRecording) {
        return block;
    }
    isRecording = true;
    const auto address = reinterpret_cast<std::uint64_t>(block);
    const Owner owner = started ? ownerOnStack() : Owner::others;
    {
        const TableLock lock;
        *slotOf(address) = {address, size, owner, {0, 0}};
        blocksOfLibrary += owner == Owner::library ? 1 : 0;
    }
    isRecording = false;
    return block;
}

// Whether the marker stands in [begin, end), and in the pool's part or outside of it.
void lookAtFreed(const HeapBlock& block) {
    const auto* const begin = reinterpret_cast<const unsigned char*>(block.begin);
    const unsigned char* const end = begin + block.size;
    for (std::size_t marker = 0; marker < kMarkers; ++marker) {
        bool inPool = false;
        bool inOrdinaryMemory = false;
        for (const unsigned char* place = begin;
             (place = findMarker(static_cast<Marker>(marker), place, end)) != end; ++place) {
            const bool pool = block.pool.contains(reinterpret_cast<std::uint64_t>(place));
            (pool ? inPool : inOrdinaryMemory) = true;
        }
        freed.inPool[marker] += inPool ? 1 : 0;
        freed.inOrdinaryMemory[marker] += inOrdinaryMemory ? 1 : 0;
    }
}

void forget(void* block) {
    const TableLock lock;
    HeapBlock* const slot = slotOf(reinterpret_cast<std::uint64_t>(block));
    if (slot->begin == kFreeSlot) {
        return;
    }
    if (slot->owner == Owner::library) {
        lookAtFreed(*slot);
    }
    slot->begin = kUsedBefore;
}

}  // namespace

void HeapRecorder::start(MemoryRange test, MemoryRange clientLibrary, MemoryRange library) {
    // The first walk of the stack loads what it needs for all others.
    static_cast<void>(ownerOnStack());
    testModule = test;
    clientLibraryModule = clientLibrary;
    libraryModule = library;
    started = true;
}

void HeapRecorder::notePool(MemoryRange range) {
    const TableLock lock;
    for (HeapBlock& block : table) {
        if (block.begin > kUsedBefore && block.begin <= range.begin &&
            range.end <= block.begin + block.size) {
            block.pool = range;
        }
    }
}

std::optional<HeapBlock> HeapRecorder::blockAt(std::uint64_t address) {
    const TableLock lock;
    for (const HeapBlock& block : table) {
        if (block.begin > kUsedBefore && block.begin <= address &&
            address < block.begin + block.size) {
            return block;
        }
    }
    return std::nullopt;
}

HeapRecorder::FreedWithMarker HeapRecorder::freedWithMarker() {
    return freed;
}

std::size_t HeapRecorder::libraryBlocks() {
    return blocksOfLibrary;
}

#define EXPORTED extern "C" __attribute__((visibility("default")))

EXPORTED RECORDER void* malloc(std::size_t size) {
    return record(__libc_malloc(size), size);
}

EXPORTED RECORDER void* calloc(std::size_t count, std::size_t size) {
    return record(__libc_calloc(count, size), count * size);
}

EXPORTED RECORDER void* memalign(std::size_t alignment, std::size_t size) {
    return record(__libc_memalign(alignment, size), size);
}

EXPORTED RECORDER void* aligned_alloc(std::size_t alignment, std::size_t size) {
    return record(__libc_memalign(alignment, size), size);
}

EXPORTED RECORDER int posix_memalign(void** block, std::size_t alignment, std::size_t size) {
    void* const memory = record(__libc_memalign(alignment, size), size);
    if (memory == nullptr) {
        return ENOMEM;
    }
    *block = memory;
    return 0;
}

EXPORTED RECORDER void free(void* block) {
    if (block == nullptr) {
        return;
    }
    const int saved = errno;
    forget(block);
    std::memset(block, 0xDD, ::malloc_usable_size(block));
    __libc_free(block);
    errno = saved;
}

EXPORTED RECORDER void* realloc(void* block, std::size_t size) {
    if (block == nullptr) {
        return record(__libc_malloc(size), size);
    }
    void* const moved = size == 0 ? nullptr : record(__libc_malloc(size), size);
    if (moved != nullptr) {
        const std::size_t held = ::malloc_usable_size(block);
        std::memcpy(moved, block, held < size ? held : size);
    }
    if (moved != nullptr || size == 0) {
        free(block);
    }
    return moved;
}

RECORDER void* operator new(std::size_t size) {
    void* const block = record(__libc_malloc(size == 0 ? 1 : size), size);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}

RECORDER void operator delete(void* block) noexcept {
    free(block);
}
RECORDER void operator delete(void* block, std::size_t) noexcept {
    free(block);
}
