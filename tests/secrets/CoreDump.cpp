#include "secrets/CoreDump.h"

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
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

}  // namespace

std::optional<std::string> takeCoreDump() {
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
    std::string bytes(std::filesystem::file_size(files->path()), '\0');
    std::ifstream stream(files->path(), std::ios::binary);
    if (!stream.read(bytes.data(), static_cast<std::streamsize>(bytes.size()))) {
        throw std::runtime_error("the core dump cannot be read");
    }
    return bytes;
}
