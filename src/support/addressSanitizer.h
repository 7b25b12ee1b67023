// Tells the address sanitizer which pool memory nobody may touch; nothing in other builds.
#pragma once

#include <cstddef>

#if defined(__SANITIZE_ADDRESS__)
#define WALLETCALLER_ADDRESS_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define WALLETCALLER_ADDRESS_SANITIZER 1
#endif
#endif

#if defined(WALLETCALLER_ADDRESS_SANITIZER)
#include <sanitizer/asan_interface.h>
#endif

namespace Orvanta_OvWallet {

inline void forbidAccess([[maybe_unused]] const void* begin, [[maybe_unused]] std::size_t size) {
#if defined(WALLETCALLER_ADDRESS_SANITIZER)
    __asan_poison_memory_region(begin, size);
#endif
}

inline void allowAccess([[maybe_unused]] const void* begin, [[maybe_unused]] std::size_t size) {
#if defined(WALLETCALLER_ADDRESS_SANITIZER)
    __asan_unpoison_memory_region(begin, size);
#endif
}

}  // namespace Orvanta_OvWallet
