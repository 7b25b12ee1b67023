#include "support/canonicalPath.h"

#include <cerrno>
#include <cstdlib>
#include <utility>

namespace Orvanta_OvWallet {

CanonicalPath canonicalPath(const std::string& path) {
    constexpr std::size_t kBufferSize = 4097;
    std::string buffer(kBufferSize, '\0');
    if (::realpath(path.c_str(), buffer.data()) == nullptr) {
        const int errnum = errno;
        return {errnum, {}};
    }
    buffer.resize(buffer.find('\0'));
    return {0, std::move(buffer)};
}

}  // namespace Orvanta_OvWallet
