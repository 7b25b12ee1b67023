#include "session/InstallationLocator.h"

#include <cerrno>
#include <cstdlib>
#include <utility>

#include "session/helperExecutable.h"
#include "session/pathnames.h"
#include "session/walletFiles.h"
#include "support/formatMessage.h"

namespace Orvanta_OvWallet {
namespace {

// A pathname, or why there is none: exactly one of the two is filled.
struct Found {
    std::string pathname;
    std::string message;
};

Found failure(std::string message) {
    return {{}, std::move(message)};
}

// The directories listed in "PATH", one after the other.
class SearchPath {
  public:
    SearchPath() {
        const char* value = std::getenv("PATH");
        remaining_ = value == nullptr ? "" : value;
    }

    bool isExhausted() const { return remaining_.empty(); }

    std::string takeElement() {
        const std::size_t separator = remaining_.find(':');
        std::string element = remaining_.substr(0, separator);
        remaining_.erase(0, separator == std::string::npos ? separator : separator + 1);
        return element;
    }

  private:
    std::string remaining_;
};

// The file at the end of a walk that has begun at the module's name.
Found fileAtEndOf(LinkWalk& walk, const std::string& moduleName) {
    walk.followToEnd();
    if (walk.isAtFile()) {
        return {walk.pathname(), {}};
    }
    const int errnum = walk.link().errnum;
    if (errnum == 0) {
        return failure("The symbolic link at \"" + walk.pathname() + "\" is empty.");
    }
    if (errnum == ENOENT) {
        return failure("\"" + moduleName + "\" does not name an existing file.");
    }
    return failure("A failure accessing \"" + walk.pathname() +
                   "\" occurred (errno = " + errnoText(errnum) + ").");
}

// Deliberate: an empty element of "PATH" stands for the root directory, not the current one.
Found findInSearchPath(const std::string& moduleName) {
    for (SearchPath directories; !directories.isExhausted();) {
        LinkWalk walk(directories.takeElement() + "/" + moduleName);
        // Only an entry that is not there at all sends the search to the next directory.
        if (walk.link().errnum != ENOENT) {
            return fileAtEndOf(walk, moduleName);
        }
    }
    return failure("Failed to find \"" + moduleName + "\" in directories listed in $PATH.");
}

Found findModuleFile(const std::string& moduleName) {
    if (moduleName.find('/') == std::string::npos) {
        return findInSearchPath(moduleName);
    }
    LinkWalk walk(moduleName);
    return fileAtEndOf(walk, moduleName);
}

std::string withoutTrailingSlash(std::string directory) {
    if (directory.size() > 1 && directory.back() == '/') {
        directory.pop_back();
    }
    return directory;
}

// The form in which messages name a directory.
std::string shown(const std::string& directory) {
    if (directory.empty()) {
        return CurrentDirectory();
    }
    CanonicalPath canonical = canonicalPath(directory);
    if (canonical.errnum == 0) {
        return std::move(canonical.path);
    }
    std::string plain = withoutTrailingSlash(directory);
    if (plain.front() == '/') {
        return plain;
    }
    const std::string current = CurrentDirectory();
    return (current == "/" ? current : current + "/") + plain;
}

Found findWalletDirectory(const std::string& moduleDir) {
    const SymbolicLink link = readSymbolicLink(moduleDir + kWalletLink);
    if (link.errnum == ENOENT) {
        return failure("The ovwalletdir symbolic link is not present in \"" + shown(moduleDir) +
                       "\".");
    }
    if (link.errnum != 0) {
        return failure("Cannot read the contents of the ovwalletdir symbolic link (in \"" +
                       shown(moduleDir) + "\") (errno = " + errnoText(link.errnum) + ").");
    }
    if (link.text.empty()) {
        return failure("The ovwalletdir symbolic link (in \"" + shown(moduleDir) + "\") is empty.");
    }
    return {link.text.front() == '/' ? link.text : moduleDir + link.text, {}};
}

}  // namespace

CanonicalPath clientDirectory(const std::string& walletDir) {
    return canonicalPath(walletDir + "/..");
}

std::string InstallationLocator(const std::string& moduleName, std::string& clientDir) {
    Found moduleFile = findModuleFile(moduleName);
    if (!moduleFile.message.empty()) {
        return std::move(moduleFile.message);
    }
    Found walletDir = findWalletDirectory(directoryPart(moduleFile.pathname));
    if (!walletDir.message.empty()) {
        return std::move(walletDir.message);
    }
    const CanonicalPath directory = clientDirectory(walletDir.pathname);
    clientDir = directory.path;
    return actsForAnotherUser() ? checkHelperExecutable(directory) : std::string();
}

}  // namespace Orvanta_OvWallet
