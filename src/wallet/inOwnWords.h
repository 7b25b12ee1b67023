// Exceptions of the client library outlive the library, made our own.
#pragma once

#include <exception>

#include "support/OvWalletException.h"

namespace Orvanta_OvWallet {

// Runs call, which calls the client library. The class of an exception that it throws may be the
// client library's own, with its code, and what is freed while the exception is on its way may
// close the library. So it becomes an OvWalletException with the same message here, where the
// library is still open. Anything that is no std::exception passes.
template <typename Call>
auto inOwnWords(const Call& call) {
    try {
        return call();
    } catch (const std::exception& exception) {
        throw OvWalletException(exception.what());
    }
}

}  // namespace Orvanta_OvWallet
