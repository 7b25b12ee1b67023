// A pseudo terminal, and the user at its other end.
#pragma once

#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <array>
#include <string>

#include "sandbox/store/Files.h"

namespace Orvanta_OvWallet::Sandbox {

class TerminalUser {
  public:
    TerminalUser() : main_(::posix_openpt(O_RDWR | O_NOCTTY)) {
        ::grantpt(main_.number());
        ::unlockpt(main_.number());
        pathname_ = ::ptsname(main_.number());
        // Held open, so that what is shown stays readable after the program has closed it.
        held_ = FileDescriptor(::open(pathname_.c_str(), O_RDWR | O_NOCTTY));
    }

    const char* pathname() const { return pathname_.c_str(); }

    // Waits until the prompt has been shown, then types. The program prompts after switching the
    // echo off, so nothing of the line is shown.
    void answer(const std::string& prompt, const std::string& line) {
        readUntil(prompt);
        writeAll(main_.number(), line + '\n');
    }

    // Everything that the terminal has shown so far; `last` is known to come.
    std::string shownUpTo(const std::string& last) {
        readUntil(last);
        return shown_;
    }

    void show(const std::string& text) { writeAll(held_.number(), text); }

  private:
    void readUntil(const std::string& end) {
        while (!shown_.ends_with(end)) {
            std::array<char, 256> piece{};
            const ssize_t size = ::read(main_.number(), piece.data(), piece.size());
            if (size <= 0) {
                return;
            }
            shown_.append(piece.data(), static_cast<std::size_t>(size));
        }
    }

    FileDescriptor main_;
    FileDescriptor held_;
    std::string pathname_;
    std::string shown_;
};

}  // namespace Orvanta_OvWallet::Sandbox
