#include "support/errnoText.h"

#include <cstring>

namespace Orvanta_OvWallet {

std::string errnoText(int errnum) {
    constexpr std::size_t kBufferStep = 1000;
    std::string buffer(kBufferStep, '\0');
    for (;;) {
        const char* text = ::strerror_r(errnum, buffer.data(), buffer.size());
        const std::size_t length = std::strlen(text);
        if (text != buffer.data() || length + 1 != buffer.size()) {
            return {text, length};
        }
        buffer.resize(length + 1 + kBufferStep);
    }
}

}  // namespace Orvanta_OvWallet
