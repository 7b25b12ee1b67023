#include "doubles/PlacedHeap.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <stdexcept>

namespace {

struct Place {
    std::size_t size;
    void* memory;
    bool taken;
};

std::array<Place, PlacedHeap::kPlaces> places{};
std::atomic<bool> used = false;

Place* find(const void* memory, bool taken) {
    const auto place = std::find_if(places.begin(), places.end(), [=](const Place& candidate) {
        return candidate.memory == memory && candidate.taken == taken;
    });
    return place == places.end() ? nullptr : place;
}

}  // namespace

void PlacedHeap::placeNext(std::size_t size, void* place) {
    Place* const slot = find(nullptr, false);
    if (slot == nullptr) {
        throw std::length_error("too many placed allocations");
    }
    used = true;
    *slot = {size, place, false};
}

bool PlacedHeap::holds(const void* place) {
    return find(place, true) != nullptr;
}

void* PlacedHeap::take(std::size_t size) noexcept {
    if (!used) {
        return nullptr;
    }
    for (Place& place : places) {
        if (place.memory != nullptr && !place.taken && place.size == size) {
            place.taken = true;
            return place.memory;
        }
    }
    return nullptr;
}

bool PlacedHeap::giveBack(const void* memory) noexcept {
    if (!used) {
        return false;
    }
    Place* const place = find(memory, true);
    if (place == nullptr) {
        return false;
    }
    *place = {};
    return true;
}
