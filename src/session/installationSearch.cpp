#include "session/installationSearch.h"

#include <sys/stat.h>

#include <cerrno>
#include <optional>
#include <set>
#include <string_view>
#include <utility>

#include "session/DirectoryScanner.h"
#include "session/LineReader.h"
#include "session/symbolicLink.h"
#include "support/OvWalletException.h"
#include "support/canonicalPath.h"
#include "support/formatMessage.h"
#include "support/walletVersion.h"

namespace Orvanta_OvWallet {
namespace {

constexpr const char* kNotInstalled =
    "The Orvanta Wallet software is not installed; install version %s of the Orvanta Wallet "
    "software (available from %s) in order to use Orvanta Wallet.";

// The pathname of the command's file, or nothing when the links do not lead to one.
std::optional<std::string> commandFile(std::string pathname) {
    for (;;) {
        const SymbolicLink link = readSymbolicLink(pathname);
        if (link.errnum == EINVAL) {
            return pathname;
        }
        if (link.errnum != 0 || link.text.empty()) {
            return std::nullopt;
        }
        pathname = linkTarget(pathname, link.text);
    }
}

std::string baseOfCommand(const std::string& commandFilePathname) {
    const std::string candidate = directoryPart(commandFilePathname) + "../../../../..";
    const CanonicalPath canonical = canonicalPath(candidate);
    return canonical.errnum == 0 ? canonical.path : candidate;
}

// Deliberate: "ovwallet" without any digit is a package record, too.
bool isPackageRecord(const std::string& name) {
    constexpr std::string_view kPrefix = "ovwallet";
    return name.starts_with(kPrefix) &&
           name.find_first_not_of("0123456789", kPrefix.size()) == std::string::npos;
}

bool isDirectory(const std::string& pathname) {
    struct stat status{};
    return ::stat(pathname.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

std::optional<std::string> baseOfPackages(const std::string& packageDatabase) {
    std::set<std::string> names;
    DirectoryScanner(names, packageDatabase);
    for (const std::string& name : names) {
        if (!isPackageRecord(name)) {
            continue;
        }
        LineReader file(packageDatabase + "/" + name + "/inst.dir");
        const std::optional<std::string> line = file.next();
        if (line && !line->empty() && isDirectory(*line)) {
            return line;
        }
    }
    return std::nullopt;
}

}  // namespace

std::string findInstallation(const std::string& commandLink, const std::string& packageDatabase) {
    if (const std::optional<std::string> command = commandFile(commandLink)) {
        return baseOfCommand(*command);
    }
    if (std::optional<std::string> base = baseOfPackages(packageDatabase)) {
        return std::move(*base);
    }
    throw OvWalletException(formatMessage(kNotInstalled, kWalletVersion, OVWALLET_DOWNLOAD_SITE));
}

}  // namespace Orvanta_OvWallet
