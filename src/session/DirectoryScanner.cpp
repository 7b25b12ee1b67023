#include "session/DirectoryScanner.h"

#include <dirent.h>
#include <syslog.h>

#include <cerrno>
#include <exception>

#include "support/OvWalletException.h"
#include "support/formatMessage.h"
#include "wallet/ProcessLock.h"

namespace Orvanta_OvWallet {
namespace {

constexpr const char* kCannotOpen = "Cannot open directory \"%s\" (errno = %s)";
constexpr const char* kCannotRead = "An attempt to read a directory failed (errno = %s)";
constexpr const char* kCannotClose = "An attempt to close a directory stream failed (errno = %s).";

class DirectoryStream {
  public:
    explicit DirectoryStream(const std::string& directory) : stream_(::opendir(directory.c_str())) {
        const int errnum = errno;
        if (stream_ == nullptr) {
            throw OvWalletException(
                formatMessage(kCannotOpen, directory.c_str(), errnoText(errnum).c_str()));
        }
    }
    ~DirectoryStream() {
        if (::closedir(stream_) != 0) {
            logCloseFailure(errno);
        }
    }
    DirectoryStream(const DirectoryStream&) = delete;
    DirectoryStream& operator=(const DirectoryStream&) = delete;

    // The next entry's name, valid until the next call; null at the end.
    const char* next() {
        errno = 0;
        const dirent* const entry = ::readdir(stream_);
        const int errnum = errno;
        if (entry == nullptr && errnum != 0) {
            throw OvWalletException(formatMessage(kCannotRead, errnoText(errnum).c_str()));
        }
        return entry == nullptr ? nullptr : entry->d_name;
    }

  private:
    static void logCloseFailure(int errnum) noexcept {
        try {
            const std::string text = formatMessage(kCannotClose, errnoText(errnum).c_str());
            ::syslog(LOG_WARNING, "%s", text.c_str());
        } catch (const std::exception&) {
            return;
        }
    }

    DIR* stream_;
};

}  // namespace

void DirectoryScanner(std::set<std::string>& names, const std::string& directory) {
    // Opened before anything else, so that names is untouched when that fails. Closed last, without
    // the lock.
    DirectoryStream stream(directory);
    try {
        const ProcessLockGuard lock;
        while (const char* name = stream.next()) {
            names.insert(name);
        }
    } catch (...) {
        names.clear();
        throw;
    }
}

}  // namespace Orvanta_OvWallet
