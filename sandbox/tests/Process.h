// Runs a command to its end and returns all that can be seen of it.
#pragma once

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "sandbox/tests/TemporaryDirectory.h"

namespace Orvanta_OvWallet::Sandbox {

struct Outcome {
    int exitCode;  // minus the signal number for a process that a signal ended
    std::string output;
    std::string errors;

    bool operator==(const Outcome&) const = default;
};

inline void PrintTo(const Outcome& outcome, std::ostream* stream) {
    *stream << "exit code " << outcome.exitCode << "\n--- output\n"
            << outcome.output << "--- errors\n"
            << outcome.errors << "---";
}

// Standard output goes to the given pathname instead when there is one; the outcome's is then
// empty.
inline Outcome runProcess(std::vector<std::string> arguments, std::vector<std::string> environment,
                          const std::string& input = {}, const std::string& outputPathname = {}) {
    const TemporaryDirectory files;
    writeText(files / "in", input);
    writeText(files / "out", "");
    writeText(files / "err", "");
    const std::string output = outputPathname.empty() ? files / "out" : outputPathname;

    const auto pointersTo = [](std::vector<std::string>& texts) {
        std::vector<char*> pointers;
        for (std::string& text : texts) {
            pointers.push_back(text.data());
        }
        pointers.push_back(nullptr);
        return pointers;
    };
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_addopen(&actions, 0, (files / "in").c_str(), O_RDONLY, 0);
    ::posix_spawn_file_actions_addopen(&actions, 1, output.c_str(), O_WRONLY, 0);
    ::posix_spawn_file_actions_addopen(&actions, 2, (files / "err").c_str(), O_WRONLY, 0);
    pid_t process = 0;
    const int spawnError =
        ::posix_spawnp(&process, arguments[0].c_str(), &actions, nullptr,
                       pointersTo(arguments).data(), pointersTo(environment).data());
    ::posix_spawn_file_actions_destroy(&actions);
    if (spawnError != 0) {
        throw std::runtime_error("cannot run " + arguments[0]);
    }
    int status = 0;
    ::waitpid(process, &status, 0);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status), readText(files / "out"),
            readText(files / "err")};
}

}  // namespace Orvanta_OvWallet::Sandbox
