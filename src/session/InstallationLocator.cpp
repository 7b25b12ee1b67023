#include "session/InstallationLocator.h"

#include <cerrno>
#include <cstdlib>
#include <utility>

#include "session/CurrentDirectory.h"
#include "session/helperExecutable.h"
#include "session/symbolicLink.h"
#include "support/canonicalPath.h"
#include "support/errnoText.h"

namespace Orvanta_OvWallet {
namespace {

constexpr const char* kLinkName = "ovwalletdir";

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

// Follows the links of an existing entry to the file at their end. ENOENT for the first one is left
// to the caller, who may know another place to look.
struct ChainEnd {
    bool firstMissing;
    Found found;
};

// Deliberate: any number of links is followed, so links in a cycle keep the caller here for ever.
ChainEnd followChain(const std::string& moduleName, std::string pathname) {
    for (bool first = true;; first = false) {
        const SymbolicLink link = readSymbolicLink(pathname);
        if (link.errnum == EINVAL) {
            return {false, {std::move(pathname), {}}};
        }
        if (link.errnum == ENOENT) {
            return {first, failure("\"" + moduleName + "\" does not name an existing file.")};
        }
        if (link.errnum != 0) {
            return {false, failure("A failure accessing \"" + pathname +
                                   "\" occurred (errno = " + errnoText(link.errnum) + ").")};
        }
        if (link.text.empty()) {
            return {false, failure("The symbolic link at \"" + pathname + "\" is empty.")};
        }
        pathname = linkTarget(pathname, link.text);
    }
}

// Deliberate: an empty element of "PATH" stands for the root directory, not the current one.
Found findInSearchPath(const std::string& moduleName) {
    for (SearchPath directories; !directories.isExhausted();) {
        ChainEnd end = followChain(moduleName, directories.takeElement() + "/" + moduleName);
        if (!end.firstMissing) {
            return std::move(end.found);
        }
    }
    return failure("Failed to find \"" + moduleName + "\" in directories listed in $PATH.");
}

Found findModuleFile(const std::string& moduleName) {
    if (moduleName.find('/') == std::string::npos) {
        return findInSearchPath(moduleName);
    }
    return followChain(moduleName, moduleName).found;
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
    const SymbolicLink link = readSymbolicLink(moduleDir + kLinkName);
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

std::string InstallationLocator(const std::string& moduleName, std::string& clientDir) {
    Found moduleFile = findModuleFile(moduleName);
    if (!moduleFile.message.empty()) {
        return std::move(moduleFile.message);
    }
    Found walletDir = findWalletDirectory(directoryPart(moduleFile.pathname));
    if (!walletDir.message.empty()) {
        return std::move(walletDir.message);
    }
    const std::string parent = walletDir.pathname + "/..";
    const CanonicalPath resolution = canonicalPath(parent);
    clientDir = resolution.errnum == 0 ? resolution.path : parent;
    return actsForAnotherUser() ? checkHelperExecutable(clientDir, resolution) : std::string();
}

}  // namespace Orvanta_OvWallet
