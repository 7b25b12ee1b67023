// Runs the tests from a private copy of the program's file, see PrivateModuleDir.h.

#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <iostream>

#include <gtest/gtest.h>

#include "doubles/SystemCalls.h"

namespace fs = std::filesystem;

namespace {

constexpr const char* kDirectoryPattern = "module-XXXXXX";

bool runsFromPrivateDirectory(const fs::path& program) {
    const std::string directory = program.parent_path().filename().string();
    return directory.starts_with("module-") &&
           directory.size() == std::string(kDirectoryPattern).size();
}

int runPrivately(const fs::path& program, char** argv) {
    std::string directory = (program.parent_path() / kDirectoryPattern).string();
    if (::mkdtemp(directory.data()) == nullptr) {
        std::cerr << "cannot make a directory like " << directory << "\n";
        return EXIT_FAILURE;
    }
    const fs::path copy = fs::path(directory) / program.filename();
    fs::create_hard_link(program, copy);
    const pid_t child = ::fork();
    if (child == 0) {
        ::execv(copy.c_str(), argv);
        ::_exit(127);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    fs::remove_all(directory);
    if (WIFSIGNALED(status)) {
        std::cerr << "the test program was ended by signal " << WTERMSIG(status) << "\n";
        return 128 + WTERMSIG(status);
    }
    return WEXITSTATUS(status);
}

}  // namespace

int main(int argc, char** argv) {
    const fs::path program = fs::read_symlink("/proc/self/exe");
    if (!runsFromPrivateDirectory(program)) {
        return runPrivately(program, argv);
    }
    ::testing::InitGoogleTest(&argc, argv);
    const int status = RUN_ALL_TESTS();
    // What runs after the tests, such as the writing of coverage, is no test's call.
    systemCalls() = {};
    return status;
}
