#include "session/pathnames.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <span>
#include <utility>

#include "support/OvWalletException.h"
#include "support/formatMessage.h"

namespace Orvanta_OvWallet {
namespace {

constexpr std::size_t kBufferStep = 4096;

}  // namespace

SymbolicLink readSymbolicLink(const std::string& pathname) {
    std::array<char, kBufferStep> buffer{};
    std::span<char> room = buffer;
    std::string longText;
    std::size_t size = 0;
    for (;;) {
        const ssize_t length = ::readlink(pathname.c_str(), room.data(), room.size());
        if (length < 0) {
            const int errnum = errno;
            return {errnum, {}};
        }
        size = static_cast<std::size_t>(length);
        // A read that fills the buffer may have cut the text.
        if (size < room.size()) {
            break;
        }
        longText.resize(size + kBufferStep);
        room = longText;
    }
    std::string text(room.data(), size);
    if (!text.empty() && text.back() == '\0') {
        text.pop_back();
    }
    if (!text.empty() && text.front() == '\0') {
        text.clear();
    }
    return {0, std::move(text)};
}

std::string directoryPart(const std::string& pathname) {
    return pathname.substr(0, pathname.rfind('/') + 1);
}

LinkWalk::LinkWalk(std::string pathname)
    : pathname_(std::move(pathname)), link_(readSymbolicLink(pathname_)) {}

bool LinkWalk::isAtFile() const {
    return link_.errnum == EINVAL;
}

void LinkWalk::follow() {
    pathname_ = link_.text.front() == '/' ? link_.text : directoryPart(pathname_) + link_.text;
    link_ = readSymbolicLink(pathname_);
}

void LinkWalk::followToEnd() {
    while (leadsOn()) {
        follow();
    }
}

CanonicalPath canonicalPath(const std::string& pathname) {
    std::array<char, kBufferStep + 1> buffer{};
    if (::realpath(pathname.c_str(), buffer.data()) == nullptr) {
        const int errnum = errno;
        return {errnum, pathname};
    }
    return {0, buffer.data()};
}

std::string CurrentDirectory() {
    std::string buffer(kBufferStep, '\0');
    while (::getcwd(buffer.data(), buffer.size()) == nullptr) {
        const int errnum = errno;
        if (errnum != ERANGE) {
            throw OvWalletException(
                "Cannot determine the pathname of the current working directory (errno = " +
                errnoText(errnum) + ").");
        }
        buffer.assign(buffer.size() + kBufferStep, '\0');
    }
    buffer.resize(buffer.find('\0'));
    return buffer;
}

}  // namespace Orvanta_OvWallet
