// SecureByteVector: the growable byte array that holds every credential value while it is worked
// on.
//
// Its storage comes from LockedPagePool, exactly as many bytes as the capacity. Capacity only
// grows: to twice the size, or to size plus the inserted run when that is longer. Bytes are
// zero-filled once, when a vector is made, and never cleared afterwards: erased bytes, outgrown
// storage and the storage of a destroyed vector keep what they held until it is overwritten.
//
// A vector is used by one thread at a time. It is made by a factory and owned through the returned
// pointer; destroying it gives the storage back, and what fails then is not reported.
//
// Failures: OvWalletException or std::bad_alloc from the pool; the vector is then unchanged.
#pragma once

#include <jni.h>

#include <cstddef>
#include <cstdint>
#include <memory>

namespace Orvanta_OvWallet {

class SecureByteVector {
  public:
    // A copy of a Java byte[], which must not be null. Of an empty array: an empty vector, with
    // storage of zero bytes all the same. The caller looks for a pending Java exception.
    static std::unique_ptr<SecureByteVector> fromJavaByteArray(JNIEnv* env, jbyteArray array);

    // size zero bytes.
    explicit SecureByteVector(std::size_t size);
    ~SecureByteVector();
    SecureByteVector(const SecureByteVector&) = delete;
    SecureByteVector& operator=(const SecureByteVector&) = delete;

    // Inserts [first, last), which lies outside this vector, before position, a pointer into
    // [begin(), end()]. Pointers into the vector are invalid afterwards. Nothing happens for an
    // empty run, whose pointers may be null.
    void insert(std::uint8_t* position, const std::uint8_t* first, const std::uint8_t* last);

    // Removes [first, last) by moving what follows down; returns first. Nothing is released.
    std::uint8_t* erase(std::uint8_t* first, std::uint8_t* last) noexcept;

    std::uint8_t* begin() noexcept { return begin_; }
    std::uint8_t* end() noexcept { return end_; }
    const std::uint8_t* begin() const noexcept { return begin_; }
    const std::uint8_t* end() const noexcept { return end_; }
    std::uint8_t operator[](std::size_t index) const noexcept { return begin_[index]; }
    std::size_t size() const noexcept { return static_cast<std::size_t>(end_ - begin_); }
    std::size_t capacity() const noexcept {
        return static_cast<std::size_t>(capacityEnd_ - begin_);
    }

  private:
    // No bytes, in storage that lockedAllocate returned for this capacity.
    SecureByteVector(std::uint8_t* storage, std::size_t capacity) noexcept
        : begin_(storage), end_(storage), capacityEnd_(storage + capacity) {}

    void insertInPlace(std::uint8_t* position, const std::uint8_t* first,
                       std::size_t count) noexcept;
    void insertGrowing(std::uint8_t* position, const std::uint8_t* first, std::size_t count);

    std::uint8_t* begin_;
    std::uint8_t* end_;
    std::uint8_t* capacityEnd_;
};

}  // namespace Orvanta_OvWallet
