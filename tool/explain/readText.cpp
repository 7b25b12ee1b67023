#include "tool/explain/readText.h"

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "support/OvWalletException.h"
#include "support/formatMessage.h"

namespace Orvanta_OvWallet::Tool {
namespace {

[[noreturn]] void throwCannotRead(const std::string& name, int errnum) {
    throw OvWalletException("Cannot read " + name + ": " + errnoText(errnum) + ".");
}

class Descriptor {
  public:
    Descriptor(const std::string& pathname, int flags)
        : number_(::open(pathname.c_str(), flags | O_CLOEXEC)) {
        const int errnum = errno;
        if (number_ < 0) {
            throwCannotRead(pathname, errnum);
        }
    }
    ~Descriptor() { ::close(number_); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int get() const { return number_; }

  private:
    int number_;
};

// What is typed is not shown for as long as this lives. Output of TCSAFLUSH drops what was typed
// before the question was asked.
class NoEcho {
  public:
    explicit NoEcho(int terminal) : terminal_(terminal) {
        ::tcgetattr(terminal_, &before_);
        termios silent = before_;
        silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        silent.c_lflag |= ECHONL;
        ::tcsetattr(terminal_, TCSAFLUSH, &silent);
    }
    ~NoEcho() { ::tcsetattr(terminal_, TCSAFLUSH, &before_); }
    NoEcho(const NoEcho&) = delete;
    NoEcho& operator=(const NoEcho&) = delete;

  private:
    int terminal_;
    termios before_{};
};

}  // namespace

std::unique_ptr<SecureByteVector> readAll(int descriptor, const std::string& name) {
    constexpr std::size_t kStep = 65536;
    SecureByteVector buffer(kStep);
    auto text = std::make_unique<SecureByteVector>(0);
    for (;;) {
        const ssize_t length = ::read(descriptor, buffer.begin(), kStep);
        const int errnum = errno;
        if (length < 0 && errnum == EINTR) {
            continue;
        }
        if (length < 0) {
            throwCannotRead(name, errnum);
        }
        if (length == 0) {
            return text;
        }
        text->insert(text->end(), buffer.begin(), buffer.begin() + length);
    }
}

std::unique_ptr<SecureByteVector> readFile(const std::string& pathname) {
    return readAll(Descriptor(pathname, O_RDONLY).get(), pathname);
}

std::unique_ptr<SecureByteVector> askOnTerminal() {
    constexpr std::size_t kLongestLine = 4096;  // a terminal gives no longer one
    const Descriptor terminal("/dev/tty", O_RDWR | O_NOCTTY);
    const NoEcho noEcho(terminal.get());
    static_cast<void>(std::fputs("Text (not shown): ", stderr));
    SecureByteVector buffer(kLongestLine);
    ssize_t length = ::read(terminal.get(), buffer.begin(), kLongestLine);
    const int errnum = errno;
    if (length < 0) {
        throwCannotRead("the terminal", errnum);
    }
    if (length > 0 && buffer.begin()[length - 1] == '\n') {
        --length;
    }
    auto text = std::make_unique<SecureByteVector>(0);
    text->insert(text->end(), buffer.begin(), buffer.begin() + length);
    return text;
}

std::unique_ptr<SecureByteVector> copyOf(const std::string& text) {
    auto copy = std::make_unique<SecureByteVector>(0);
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(text.data());
    copy->insert(copy->end(), bytes, bytes + text.size());
    return copy;
}

}  // namespace Orvanta_OvWallet::Tool
