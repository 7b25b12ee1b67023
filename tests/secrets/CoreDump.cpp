#include "secrets/CoreDump.h"

#include <elf.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "doubles/TemporaryDirectory.h"

namespace {

// Whether the kernel writes core dumps into the directory in which a process is; if not, they go to
// a program, or to a place from which nobody would remove them.
bool areWrittenHere() {
    std::ifstream file("/proc/sys/kernel/core_pattern");
    std::string pattern;
    std::getline(file, pattern);
    return !pattern.empty() && pattern.find_first_of("|/") == std::string::npos;
}

// In the child, where the heap must be left alone.
[[noreturn]] void endWithCoreDump(const char* directory) {
    rlimit limit{};
    ::getrlimit(RLIMIT_CORE, &limit);
    limit.rlim_cur = limit.rlim_max;
    ::setrlimit(RLIMIT_CORE, &limit);
    ::signal(SIGABRT, SIG_DFL);
    if (::chdir(directory) == 0) {
        std::abort();
    }
    ::_exit(1);
}

template <typename Record>
Record recordAt(const std::vector<unsigned char>& file, std::size_t offset) {
    if (offset + sizeof(Record) > file.size()) {
        throw std::runtime_error("the core dump is cut off");
    }
    Record record;
    std::memcpy(&record, file.data() + offset, sizeof record);
    return record;
}

}  // namespace

CoreDump::CoreDump(const std::string& pathname) : file_(std::filesystem::file_size(pathname)) {
    std::ifstream stream(pathname, std::ios::binary);
    stream.read(reinterpret_cast<char*>(file_.data()), static_cast<std::streamsize>(file_.size()));
    if (!stream) {
        throw std::runtime_error("the core dump cannot be read");
    }
    const auto header = recordAt<Elf64_Ehdr>(file_, 0);
    for (std::size_t i = 0; i < header.e_phnum; ++i) {
        const auto segment = recordAt<Elf64_Phdr>(file_, header.e_phoff + i * sizeof(Elf64_Phdr));
        if (segment.p_type == PT_LOAD && segment.p_filesz > 0) {
            if (segment.p_offset + segment.p_filesz > file_.size()) {
                throw std::runtime_error("the core dump is cut off");
            }
            segments_.push_back(
                {segment.p_offset, {segment.p_vaddr, segment.p_vaddr + segment.p_filesz}});
        }
    }
    std::sort(segments_.begin(), segments_.end(),
              [](const Segment& a, const Segment& b) { return a.offset < b.offset; });
}

std::optional<CoreDump> CoreDump::take() {
    if (!areWrittenHere()) {
        return std::nullopt;
    }
    const TemporaryDirectory directory;
    const pid_t child = ::fork();
    if (child < 0) {
        throw std::runtime_error("no process");
    }
    if (child == 0) {
        endWithCoreDump(directory.pathname().c_str());
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    const std::filesystem::directory_iterator files(directory.pathname());
    if (!WIFSIGNALED(status) || !WCOREDUMP(status) || files == end(files)) {
        return std::nullopt;
    }
    return CoreDump(files->path());
}
