#include "doubles/ChildProcess.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <exception>
#include <stdexcept>

#include <gtest/gtest.h>

#include "support/addressSanitizer.h"

#if defined(WALLETCALLER_ADDRESS_SANITIZER)
#include <sanitizer/lsan_interface.h>
#endif

namespace {

constexpr unsigned kSecondsToLive = 300;

// What went wrong in this test so far, in the parent too before it forked.
int failuresSoFar() {
    return ::testing::UnitTest::GetInstance()->current_test_info()->result()->total_part_count();
}

// No exception may lead out of the child: it would go on as the test program that it is a copy of.
std::string textOf(const std::function<std::string()>& body) {
    try {
        return body();
    } catch (const std::exception& exception) {
        ADD_FAILURE() << "the child threw: " << exception.what();
    } catch (...) {
        ADD_FAILURE() << "the child threw";
    }
    return {};
}

[[noreturn]] void liveAndEnd(const std::function<std::string()>& body, int pipe) {
    ::alarm(kSecondsToLive);
    const int failuresBefore = failuresSoFar();
    const std::string text = textOf(body);
    for (std::size_t sent = 0; sent < text.size();) {
        const ssize_t count = ::write(pipe, text.data() + sent, text.size() - sent);
        if (count <= 0) {
            ::_exit(EXIT_FAILURE);
        }
        sent += static_cast<std::size_t>(count);
    }
    std::fflush(stdout);
    ::_exit(failuresSoFar() > failuresBefore ? EXIT_FAILURE : EXIT_SUCCESS);
}

std::string readAll(int pipe) {
    std::string text;
    std::array<char, 4096> buffer{};
    for (ssize_t count = 0; (count = ::read(pipe, buffer.data(), buffer.size())) > 0;) {
        text.append(buffer.data(), static_cast<std::size_t>(count));
    }
    return text;
}

}  // namespace

std::string inChildProcess(const std::function<std::string()>& body) {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        throw std::runtime_error("no pipe");
    }
    std::fflush(stdout);
    const pid_t child = ::fork();
    if (child < 0) {
        throw std::runtime_error("no process");
    }
    if (child == 0) {
        ::close(ends[0]);
        liveAndEnd(body, ends[1]);
    }
    ::close(ends[1]);
    std::string text = readAll(ends[0]);
    ::close(ends[0]);
    int status = 0;
    if (::waitpid(child, &status, 0) != child) {
        throw std::runtime_error("the process is gone");
    }
    if (WIFSIGNALED(status)) {
        ADD_FAILURE() << "the process was ended by signal " << WTERMSIG(status);
        return {};
    }
    EXPECT_EQ(WEXITSTATUS(status), EXIT_SUCCESS) << "the process above failed";
    return text;
}

std::string outputOf(const std::string& command) {
    std::FILE* const output = ::popen(command.c_str(), "r");
    if (output == nullptr) {
        throw std::runtime_error("cannot run " + command);
    }
    const std::string text = readAll(::fileno(output));
    EXPECT_EQ(::pclose(output), 0) << command;
    return text;
}

void expectNoLeaks() {
#if defined(WALLETCALLER_ADDRESS_SANITIZER)
    EXPECT_EQ(__lsan_do_recoverable_leak_check(), 0) << "memory was leaked";
#endif
}
