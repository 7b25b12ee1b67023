#include "doubles/FailingHeap.h"

#include <atomic>
#include <cstdlib>
#include <new>
#include <utility>

#include "doubles/PlacedHeap.h"

namespace {

// Counted relaxed: otherwise every allocation would order the threads that the thread sanitizer
// watches, and hide the races between them.
std::atomic<std::int64_t> live = 0;
thread_local std::uint64_t remaining = 0;
thread_local std::uint64_t pauses = 0;
thread_local bool hasFailed = false;
thread_local const std::function<void()>* onFailure = nullptr;

bool failNow() {
    if (remaining == 0 || pauses != 0 || --remaining != 0) {
        return false;
    }
    hasFailed = true;
    if (onFailure != nullptr && *onFailure) {
        const FailingHeap::Pause pause;
        (*onFailure)();
    }
    return true;
}

void* takeMemory(std::size_t size) {
    void* const place = PlacedHeap::take(size);
    return place != nullptr ? place : std::malloc(size == 0 ? 1 : size);
}

void freeMemory(void* memory) noexcept {
    if (memory != nullptr) {
        live.fetch_sub(1, std::memory_order_relaxed);
        if (!PlacedHeap::giveBack(memory)) {
            std::free(memory);
        }
    }
}

}  // namespace

FailingHeap::FailingHeap(std::uint64_t failAt, std::function<void()> afterFailure)
    : afterFailure_(std::move(afterFailure)) {
    hasFailed = false;
    onFailure = &afterFailure_;
    remaining = failAt;
}

FailingHeap::~FailingHeap() {
    remaining = 0;
    onFailure = nullptr;
}

void FailingHeap::failNext(std::uint64_t k) {
    remaining = k;
}

FailingHeap::Pause::Pause() {
    ++pauses;
}

FailingHeap::Pause::~Pause() {
    --pauses;
}

bool FailingHeap::failed() const {
    return hasFailed;
}

std::int64_t FailingHeap::liveAllocations() {
    return live.load(std::memory_order_relaxed);
}

void* operator new(std::size_t size) {
    void* const memory = failNow() ? nullptr : takeMemory(size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    live.fetch_add(1, std::memory_order_relaxed);
    return memory;
}

void operator delete(void* memory) noexcept {
    freeMemory(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    freeMemory(memory);
}
