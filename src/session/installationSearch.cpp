#include "session/installationSearch.h"

#include <sys/stat.h>

#include <cstdio>
#include <memory>
#include <optional>
#include <set>
#include <string_view>
#include <utility>

#include "session/DirectoryScanner.h"
#include "session/pathnames.h"
#include "session/walletFiles.h"
#include "support/OvWalletException.h"
#include "support/formatMessage.h"

namespace Orvanta_OvWallet {
namespace {

constexpr const char* kNotInstalled =
    "The Orvanta Wallet software is not installed; install version %s of the Orvanta Wallet "
    "software (available from %s) in order to use Orvanta Wallet.";

struct Closer {
    void operator()(std::FILE* file) const { static_cast<void>(std::fclose(file)); }
};

// The first line without its newline; empty as well for a file that cannot be read.
std::string firstLine(const std::string& pathname) {
    const std::unique_ptr<std::FILE, Closer> file(std::fopen(pathname.c_str(), "re"));
    std::string line;
    for (int c = file == nullptr ? EOF : std::getc(file.get()); c != EOF && c != '\n';
         c = std::getc(file.get())) {
        line += static_cast<char>(c);
    }
    return line;
}

bool isDirectory(const std::string& pathname) {
    struct stat status{};
    return ::stat(pathname.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

std::string baseOfCommand(const std::string& commandFile) {
    return canonicalPath(directoryPart(commandFile) + "../../../../..").path;
}

std::optional<std::string> baseOfPackages(const std::string& packageDatabase) {
    std::set<std::string> names;
    DirectoryScanner(names, packageDatabase);
    for (const std::string& name : names) {
        if (!isPackageRecord(name)) {
            continue;
        }
        PackageRecord record = readPackageRecord(packageDatabase + "/" + name);
        if (record.state == PackageRecord::State::counts) {
            return std::move(record.base);
        }
    }
    return std::nullopt;
}

}  // namespace

bool isPackageRecord(const std::string& name) {
    constexpr std::string_view kPrefix = "ovwallet";
    return name.starts_with(kPrefix) &&
           name.find_first_not_of("0123456789", kPrefix.size()) == std::string::npos;
}

PackageRecord readPackageRecord(const std::string& pathname) {
    using State = PackageRecord::State;
    std::string base = firstLine(pathname + "/inst.dir");
    if (base.empty()) {
        return {State::hasNoFirstLine, {}};
    }
    const State state = isDirectory(base) ? State::counts : State::namesNoDirectory;
    return {state, std::move(base)};
}

std::string findInstallation(const std::string& commandLink, const std::string& packageDatabase) {
    LinkWalk command(commandLink);
    command.followToEnd();
    // Deliberate: a command that is there decides, wherever it lies; no record is asked after it.
    if (command.isAtFile()) {
        return baseOfCommand(command.pathname());
    }
    if (std::optional<std::string> base = baseOfPackages(packageDatabase)) {
        return std::move(*base);
    }
    throw OvWalletException(formatMessage(kNotInstalled, kWalletVersion, OVWALLET_DOWNLOAD_SITE));
}

}  // namespace Orvanta_OvWallet
