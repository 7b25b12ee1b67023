// Turns an exception of the client library into one of ours while the library is open.
#pragma once

#include <cstddef>
#include <exception>

namespace Orvanta_OvWallet {

// For a message for which there is no memory: as much of it as fits, in whole characters.
class ShortException : public std::exception {
  public:
    static constexpr std::size_t kLongest = 255;  // bytes

    explicit ShortException(const char* message) noexcept;

    const char* what() const noexcept override { return text_; }

  private:
    char text_[kLongest + 1] = {};
};

// Throws an OvWalletException with this message, or a ShortException.
[[noreturn]] void throwInOwnWords(const char* message);

// Runs call, which calls the client library. The class of an exception that it throws may be the
// client library's own, with its code, and what is freed while the exception is on its way may
// close the library. So it is thrown on as an exception of ours with the same message. Anything
// that is no std::exception passes.
template <typename Call>
auto inOwnWords(const Call& call) {
    try {
        return call();
    } catch (const std::exception& exception) {
        throwInOwnWords(exception.what());
    }
}

}  // namespace Orvanta_OvWallet
