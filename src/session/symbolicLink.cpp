#include "session/symbolicLink.h"

#include <unistd.h>

#include <cerrno>
#include <utility>

namespace Orvanta_OvWallet {

SymbolicLink readSymbolicLink(const std::string& pathname) {
    constexpr std::size_t kBufferStep = 4096;
    std::string buffer(kBufferStep, '\0');
    for (;;) {
        const ssize_t length = ::readlink(pathname.c_str(), buffer.data(), buffer.size());
        if (length < 0) {
            const int errnum = errno;
            return {errnum, {}};
        }
        const auto size = static_cast<std::size_t>(length);
        if (size < buffer.size()) {
            buffer.resize(size);
            break;
        }
        buffer.resize(size + kBufferStep);
    }
    if (!buffer.empty() && buffer.back() == '\0') {
        buffer.pop_back();
    }
    if (!buffer.empty() && buffer.front() == '\0') {
        buffer.clear();
    }
    return {0, std::move(buffer)};
}

std::string directoryPart(const std::string& pathname) {
    return pathname.substr(0, pathname.rfind('/') + 1);
}

std::string linkTarget(const std::string& pathname, const std::string& text) {
    return text.front() == '/' ? text : directoryPart(pathname) + text;
}

}  // namespace Orvanta_OvWallet
