#include "bench/countingHeap.h"

#include <cstddef>
#include <cstdlib>
#include <new>

HeapCount heapCount;

void* operator new(std::size_t size) {
    ++heapCount.allocations;
    heapCount.bytes += size;
    void* const memory = std::malloc(size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
