#include "tool/version/runVersion.h"

#include <fstream>
#include <map>
#include <string_view>
#include <utility>

#include "session/memoryMap.h"
#include "tool/doctor/Subject.h"
#include "tool/doctor/elfFile.h"
#include "tool/output/TextPage.h"
#include "tool/output/printable.h"

namespace Orvanta_OvWallet::Tool {
namespace {

constexpr std::size_t kIndent = 9;

bool addFile(TextPage& page, const std::string& pathname, const ElfFile& file) {
    page.addLine(printable(pathname));
    if (!file.problem.empty()) {
        page.add("", kIndent, file.problem);
        return false;
    }
    page.add("version", kIndent, file.version.empty() ? "unknown" : printable(file.version));
    page.add("build id", kIndent, file.buildId.empty() ? "none" : file.buildId);
    return true;
}

// The file that a process has mapped in this range, also when it was deleted, which only a
// privileged user may follow; otherwise what has its name there now, as the process sees it.
ElfFile readMapped(const std::string& process, const std::string& range,
                   const std::string& pathname) {
    ElfFile file = readElfFile(process + "/map_files/" + range);
    return file.problem.empty() ? std::move(file) : readElfFile(process + "/root" + pathname);
}

// Every file with the library's name in its pathname.
std::map<std::string, ElfFile> copiesIn(const std::string& process) {
    std::map<std::string, ElfFile> copies;
    std::ifstream map(process + "/maps");
    for (std::string line; std::getline(map, line);) {
        const std::optional<Mapping> mapping = parseMapLine(line);
        if (mapping && mapping->pathname.find("WalletCaller") != std::string_view::npos) {
            const std::string pathname(mapping->pathname);
            if (!copies.contains(pathname)) {
                copies.emplace(pathname,
                               readMapped(process, line.substr(0, line.find(' ')), pathname));
            }
        }
    }
    return copies;
}

}  // namespace

int runVersion(const VersionOptions& options) {
    TextPage page(wantsColour());
    bool told = false;
    if (options.process) {
        for (const auto& [pathname, file] : copiesIn("/proc/" + std::to_string(*options.process))) {
            told = addFile(page, pathname, file) || told;
        }
        if (page.text().empty()) {
            page.add("", 0, "No copy of the library can be seen in that process.");
        }
    } else {
        const std::string pathname = options.file.value_or(libraryBesideProgram());
        told = addFile(page, pathname, readElfFile(pathname));
    }
    writeOutput(page.text());
    return told ? kNoFailure : kCannotTell;
}

}  // namespace Orvanta_OvWallet::Tool
