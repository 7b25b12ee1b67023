#include "sandbox/store/Terminal.h"

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>

#include "sandbox/store/Failure.h"
#include "sandbox/store/Files.h"

namespace Orvanta_OvWallet::Sandbox {

namespace {

// While it lives, a terminal shows nothing of what is typed but the end of the line; does nothing
// to what is no terminal.
class SilentTerminal {
  public:
    explicit SilentTerminal(int fileDescriptor) : fileDescriptor_(fileDescriptor) {
        isTerminal_ = ::tcgetattr(fileDescriptor_, &before_) == 0;
        if (isTerminal_) {
            termios silent = before_;
            silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
            silent.c_lflag |= ECHONL;
            ::tcsetattr(fileDescriptor_, TCSADRAIN, &silent);
        }
    }
    SilentTerminal(const SilentTerminal&) = delete;
    SilentTerminal& operator=(const SilentTerminal&) = delete;
    ~SilentTerminal() {
        if (isTerminal_) {
            ::tcsetattr(fileDescriptor_, TCSADRAIN, &before_);
        }
    }

  private:
    int fileDescriptor_;
    bool isTerminal_;
    termios before_{};
};

std::string readLine(int input, int output, const char* prompt) {
    const SilentTerminal silent(input);
    if (prompt != nullptr) {
        writeAll(output, prompt);
    }
    std::string line;
    for (;;) {
        char byte = '\0';
        const ssize_t size = ::read(input, &byte, 1);
        if (size < 0) {
            const int readError = errno;
            if (readError != EINTR) {
                throw Failure(FailureCode::terminal,
                              "Cannot read a line: " + errnoText(readError) + ".");
            }
        } else if (size == 0) {
            if (line.empty()) {
                throw Failure(FailureCode::terminal, "There is no line to read.");
            }
            return line;
        } else if (byte == '\n') {
            return line;
        } else {
            line += byte;
        }
    }
}

}  // namespace

std::string readStandardInput(const char* prompt) {
    return readLine(STDIN_FILENO, STDERR_FILENO, prompt);
}

std::string readTerminal(const char* prompt, const char* pathname) {
    const std::string terminal = pathname == nullptr ? "/dev/tty" : pathname;
    const FileDescriptor file(::open(terminal.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC));
    if (!file.isOpen()) {
        throwFileTrouble("open", terminal, errno);
    }
    return readLine(file.number(), file.number(), prompt);
}

void requireSameTwice(const std::string& first, const std::string& second) {
    if (first != second) {
        throw Failure(FailureCode::terminal, "The two lines are not the same.");
    }
}

}  // namespace Orvanta_OvWallet::Sandbox
