#include "securemem/SecureByteVector.h"

#include <algorithm>
#include <cstring>

#include "securemem/LockedPagePool.h"
#include "securemem/PoolBlock.h"

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
    : begin_(LockedPagePool::lockedAllocate(size)), end_(begin_ + size), capacityEnd_(end_) {
    std::fill(begin_, end_, std::uint8_t{0});
}

SecureByteVector::~SecureByteVector() {
    const PoolBlock storage(begin_, capacity());
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
    const auto before = static_cast<std::size_t>(position - begin_);
    const auto after = static_cast<std::size_t>(end_ - position);
    PoolBlock storage(newCapacity);
    std::uint8_t* const newBegin = storage.begin();
    std::copy_n(begin_, before, newBegin);
    std::copy_n(first, count, newBegin + before);
    std::copy_n(position, after, newBegin + before + count);
    storage.hold(begin_, capacity());
    begin_ = newBegin;
    end_ = newBegin + before + count + after;
    capacityEnd_ = newBegin + newCapacity;
}

}  // namespace Orvanta_OvWallet
