#include "securemem/SecureByteVector.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "securemem/LockedPagePool.h"
#include "support/inSilence.h"

namespace Orvanta_OvWallet {

std::unique_ptr<SecureByteVector> SecureByteVector::fromJavaByteArray(JNIEnv* env,
                                                                      jbyteArray array) {
    const jsize length = env->GetArrayLength(array);
    auto vector = std::make_unique<SecureByteVector>(static_cast<std::size_t>(length));
    if (length != 0) {
        env->GetByteArrayRegion(array, 0, length, reinterpret_cast<jbyte*>(vector->begin()));
    }
    return vector;
}

SecureByteVector::SecureByteVector(std::size_t size)
    : SecureByteVector(LockedPagePool::lockedAllocate(size), size) {
    end_ = std::fill_n(begin_, size, std::uint8_t{0});
}

// Giving back fails only when the process-wide lock does: the storage then stays taken, which harms
// nobody, and the next use of the pool reports the lock.
SecureByteVector::~SecureByteVector() {
    inSilence([this] { LockedPagePool::lockedRelease(begin_, capacity()); });
}

void SecureByteVector::insert(std::uint8_t* position, const std::uint8_t* first,
                              const std::uint8_t* last) {
    const auto count = static_cast<std::size_t>(last - first);
    if (count == 0) {
        return;
    }
    if (static_cast<std::size_t>(capacityEnd_ - end_) >= count) {
        insertInPlace(position, first, count);
    } else {
        insertGrowing(position, first, count);
    }
}

std::uint8_t* SecureByteVector::erase(std::uint8_t* first, std::uint8_t* last) noexcept {
    std::memmove(first, last, static_cast<std::size_t>(end_ - last));
    end_ -= last - first;
    return first;
}

void SecureByteVector::insertInPlace(std::uint8_t* position, const std::uint8_t* first,
                                     std::size_t count) noexcept {
    std::memmove(position + count, position, static_cast<std::size_t>(end_ - position));
    std::memcpy(position, first, count);
    end_ += count;
}

void SecureByteVector::insertGrowing(std::uint8_t* position, const std::uint8_t* first,
                                     std::size_t count) {
    const std::size_t newCapacity = size() + std::max(size(), count);
    // Taken before anything is moved; what goes with it in the end is the outgrown storage.
    SecureByteVector grown(LockedPagePool::lockedAllocate(newCapacity), newCapacity);
    grown.insertInPlace(grown.end_, begin_, static_cast<std::size_t>(position - begin_));
    grown.insertInPlace(grown.end_, first, count);
    grown.insertInPlace(grown.end_, position, static_cast<std::size_t>(end_ - position));
    std::swap(begin_, grown.begin_);
    std::swap(end_, grown.end_);
    std::swap(capacityEnd_, grown.capacityEnd_);
}

}  // namespace Orvanta_OvWallet
