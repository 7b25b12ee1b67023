#include "sandbox/store/Files.h"

#include <fcntl.h>
#include <stdlib.h>
#include <string.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <utility>

#include "sandbox/store/Failure.h"

namespace Orvanta_OvWallet::Sandbox {

FileDescriptor::FileDescriptor(FileDescriptor&& other) noexcept
    : number_(std::exchange(other.number_, -1)) {}

FileDescriptor& FileDescriptor::operator=(FileDescriptor&& other) noexcept {
    std::swap(number_, other.number_);
    return *this;
}

FileDescriptor::~FileDescriptor() {
    if (isOpen()) {
        ::close(number_);
    }
}

std::string errnoText(int number) {
    std::array<char, 256> buffer{};
    return ::strerror_r(number, buffer.data(), buffer.size());
}

void throwFileTrouble(std::string_view action, const std::string& pathname, int errorNumber) {
    throw Failure(FailureCode::fileTrouble, "Cannot " + std::string(action) + " \"" + pathname +
                                                "\": " + errnoText(errorNumber) + ".");
}

std::optional<std::string> readFile(const std::string& pathname) {
    const FileDescriptor file(::open(pathname.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file.isOpen()) {
        const int openError = errno;
        if (openError == ENOENT) {
            return std::nullopt;
        }
        throwFileTrouble("open", pathname, openError);
    }
    std::string text;
    std::array<char, 4096> piece{};
    for (;;) {
        const ssize_t size = ::read(file.number(), piece.data(), piece.size());
        if (size == 0) {
            return text;
        }
        if (size > 0) {
            text.append(piece.data(), static_cast<std::size_t>(size));
        } else if (const int readError = errno; readError != EINTR) {
            throwFileTrouble("read", pathname, readError);
        }
    }
}

bool writeAll(int fileDescriptor, std::string_view text) {
    while (!text.empty()) {
        const ssize_t size = ::write(fileDescriptor, text.data(), text.size());
        if (size >= 0) {
            text.remove_prefix(static_cast<std::size_t>(size));
        } else if (errno != EINTR) {
            return false;
        }
    }
    return true;
}

void replaceFile(const std::string& pathname, std::string_view text) {
    std::string temporary = pathname + ".XXXXXX";
    // mkostemp gives the file the mode 0600.
    const FileDescriptor file(::mkostemp(temporary.data(), O_CLOEXEC));
    if (!file.isOpen()) {
        throwFileTrouble("write", pathname, errno);
    }
    if (!writeAll(file.number(), text) || ::rename(temporary.c_str(), pathname.c_str()) != 0) {
        const int writeError = errno;
        ::unlink(temporary.c_str());
        throwFileTrouble("write", pathname, writeError);
    }
}

void appendToFileIfPresent(const std::string& pathname, std::string_view text) {
    const FileDescriptor file(::open(pathname.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC));
    if (!file.isOpen()) {
        const int openError = errno;
        if (openError == ENOENT) {
            return;
        }
        throwFileTrouble("open", pathname, openError);
    }
    if (!writeAll(file.number(), text)) {
        throwFileTrouble("write", pathname, errno);
    }
}

bool removeFile(const std::string& pathname) {
    if (::unlink(pathname.c_str()) == 0) {
        return true;
    }
    const int unlinkError = errno;
    if (unlinkError != ENOENT) {
        throwFileTrouble("remove", pathname, unlinkError);
    }
    return false;
}

void makePrivateDirectory(const std::string& pathname) {
    if (::mkdir(pathname.c_str(), 0700) != 0) {
        const int makeError = errno;
        if (makeError != EEXIST) {
            throwFileTrouble("make the directory", pathname, makeError);
        }
    }
}

FileDescriptor lockDirectory(const std::string& pathname) {
    FileDescriptor directory(::open(pathname.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!directory.isOpen()) {
        throwFileTrouble("open the directory", pathname, errno);
    }
    while (::flock(directory.number(), LOCK_EX) != 0) {
        const int lockError = errno;
        if (lockError != EINTR) {
            throwFileTrouble("lock the directory", pathname, lockError);
        }
    }
    return directory;
}

}  // namespace Orvanta_OvWallet::Sandbox
