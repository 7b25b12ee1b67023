#include "wallet/inOwnWords.h"

#include <cstring>
#include <new>

#include "support/OvWalletException.h"

namespace Orvanta_OvWallet {
namespace {

// Whether a byte goes on with a character of UTF-8 that another byte began.
bool continuesCharacter(char byte) {
    constexpr unsigned kMask = 0xC0;
    constexpr unsigned kContinuation = 0x80;
    return (static_cast<unsigned char>(byte) & kMask) == kContinuation;
}

}  // namespace

ShortException::ShortException(const char* message) noexcept {
    std::size_t size = ::strnlen(message, kLongest + 1);
    if (size > kLongest) {
        size = kLongest;
        while (size > 0 && continuesCharacter(message[size])) {
            --size;
        }
    }
    std::memcpy(text_, message, size);
}

void throwInOwnWords(const char* message) {
    try {
        throw OvWalletException(message);
    } catch (const std::bad_alloc&) {
        throw ShortException(message);
    }
}

}  // namespace Orvanta_OvWallet
