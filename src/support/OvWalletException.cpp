#include "support/OvWalletException.h"

#include <utility>

namespace Orvanta_OvWallet {

OvWalletException::OvWalletException(std::string message) : message_(std::move(message)) {}

OvWalletException::~OvWalletException() = default;

NotInstalledException::~NotInstalledException() = default;

const char* OvWalletException::what() const noexcept {
    return message_.c_str();
}

}  // namespace Orvanta_OvWallet
