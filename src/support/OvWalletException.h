// A failure of this library, with its whole message in plain words.
//
// The entry point turns it into the Java exception that the caller sees; the wrappers of the wallet
// library turn it into an error object. The message is copied and owned.
#pragma once

#include <exception>
#include <string>

namespace Orvanta_OvWallet {

class OvWalletException : public std::exception {
  public:
    explicit OvWalletException(std::string message);
    ~OvWalletException() override;

    OvWalletException(const OvWalletException&) = default;
    OvWalletException& operator=(const OvWalletException&) = default;

    // The message as it was given, with nothing added; valid as long as the exception is.
    const char* what() const noexcept override;

  private:
    std::string message_;
};

}  // namespace Orvanta_OvWallet
