#include "tool/version/runVersion.h"

#include <fstream>
#include <set>

#include "session/memoryMap.h"
#include "tool/doctor/Subject.h"
#include "tool/doctor/elfFile.h"
#include "tool/output/TextPage.h"
#include "tool/output/printable.h"

namespace Orvanta_OvWallet::Tool {
namespace {

constexpr std::size_t kIndent = 9;

bool addFile(TextPage& page, const std::string& pathname) {
    const ElfFile file = readElfFile(pathname);
    page.addLine(printable(pathname));
    if (!file.problem.empty()) {
        page.add("", kIndent, file.problem);
        return false;
    }
    page.add("version", kIndent, file.version.empty() ? "unknown" : printable(file.version));
    page.add("build id", kIndent, file.buildId.empty() ? "none" : file.buildId);
    return true;
}

// Every pathname with the library's name in it.
std::set<std::string> copiesIn(int process) {
    std::set<std::string> pathnames;
    std::ifstream map("/proc/" + std::to_string(process) + "/maps");
    for (std::string line; std::getline(map, line);) {
        const std::optional<Mapping> mapping = parseMapLine(line);
        if (mapping && mapping->pathname.find("WalletCaller") != std::string::npos) {
            pathnames.emplace(mapping->pathname);
        }
    }
    return pathnames;
}

}  // namespace

int runVersion(const VersionOptions& options) {
    TextPage page(wantsColour());
    bool told = false;
    if (options.process) {
        for (const std::string& pathname : copiesIn(*options.process)) {
            told = addFile(page, pathname) || told;
        }
        if (page.text().empty()) {
            page.add("", 0, "No copy of the library can be seen in that process.");
        }
    } else {
        told = addFile(page, options.file.value_or(libraryBesideProgram()));
    }
    writeOutput(page.text());
    return told ? kNoFailure : kCannotTell;
}

}  // namespace Orvanta_OvWallet::Tool
