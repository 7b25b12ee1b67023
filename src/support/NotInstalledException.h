// The OvWallet software is not installed where it was looked for.
//
// Catch it before OvWalletException, which it derives from, where the two must be told apart: it
// becomes error code 12, every other failure 11.
#pragma once

#include "support/OvWalletException.h"

namespace Orvanta_OvWallet {

class NotInstalledException : public OvWalletException {
  public:
    using OvWalletException::OvWalletException;
    ~NotInstalledException() override;

    NotInstalledException(const NotInstalledException&) = default;
    NotInstalledException& operator=(const NotInstalledException&) = default;
};

}  // namespace Orvanta_OvWallet
