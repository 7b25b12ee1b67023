// The failures of this library, each with its whole message in plain words.
//
// The entry point turns them into the Java exception that the caller sees; the wrappers of the
// wallet library turn them into error objects. The message is copied and owned. A message that
// cannot be put together, because one of its texts is not UTF-8, gives way to the formatter's own
// exception (see formatMessage.h), wherever a function promises an OvWalletException.
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

// The OvWallet software is not installed where it was looked for.
//
// Catch it before OvWalletException where the two must be told apart: it becomes error code 12,
// every other failure 11.
class NotInstalledException : public OvWalletException {
  public:
    using OvWalletException::OvWalletException;
    ~NotInstalledException() override;

    NotInstalledException(const NotInstalledException&) = default;
    NotInstalledException& operator=(const NotInstalledException&) = default;
};

}  // namespace Orvanta_OvWallet
