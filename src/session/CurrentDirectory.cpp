#include "session/CurrentDirectory.h"

#include <unistd.h>

#include <cerrno>

#include "support/OvWalletException.h"
#include "support/errnoText.h"

namespace Orvanta_OvWallet {

std::string CurrentDirectory() {
    constexpr std::size_t kBufferStep = 4096;
    std::string buffer(kBufferStep, '\0');
    while (::getcwd(buffer.data(), buffer.size()) == nullptr) {
        const int errnum = errno;
        if (errnum != ERANGE) {
            throw OvWalletException(
                "Cannot determine the pathname of the current working directory (errno = " +
                errnoText(errnum) + ").");
        }
        buffer.assign(buffer.size() + kBufferStep, '\0');
    }
    buffer.resize(buffer.find('\0'));
    return buffer;
}

}  // namespace Orvanta_OvWallet
