#include "tool/doctor/Child.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <ctime>
#include <vector>

#include "support/OvWalletException.h"
#include "support/formatMessage.h"

namespace Orvanta_OvWallet::Tool {
namespace {

constexpr const char* kDone = "done";

volatile std::sig_atomic_t caughtSignal = 0;

extern "C" void noteSignal(int signal) {
    caughtSignal = signal;
}

struct Pipe {
    int ends[2] = {-1, -1};

    Pipe() {
        if (::pipe2(ends, O_CLOEXEC) != 0) {
            throw OvWalletException("Cannot make a pipe: " + errnoText(errno) + ".");
        }
    }
    ~Pipe() {
        closeEnd(0);
        closeEnd(1);
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    void closeEnd(int which) {
        if (ends[which] >= 0) {
            ::close(ends[which]);
            ends[which] = -1;
        }
    }
};

long long nowInMilliseconds() {
    constexpr long long kThousand = 1000;
    constexpr long long kMillion = 1000000;
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * kThousand + now.tv_nsec / kMillion;
}

void becomeHarmless(pid_t parent, int output) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != parent) {
        ::_exit(1);
    }
    ::setsid();
    constexpr rlimit kNone{0, 0};
    ::setrlimit(RLIMIT_CORE, &kNone);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        std::signal(signal, SIG_DFL);
    }
    const int nothing = ::open("/dev/null", O_RDONLY);
    ::dup2(nothing, STDIN_FILENO);
    ::dup2(output, STDOUT_FILENO);
    ::dup2(output, STDERR_FILENO);
}

[[noreturn]] void workInChild(const std::function<void(const ChildReport&)>& work,
                              const ChildReport& report) {
    try {
        work(report);
    } catch (const std::exception& failure) {
        report.put("exception", failure.what());
    }
    report.put(kDone, "");
    // Not exit: destructors of the wallet's library belong to no step of a job.
    ::_exit(0);
}

// Reads both pipes until the child has closed its report. Returns whether that was in time.
bool readUntilEnd(int report, int output, std::string& frames, int timeoutSeconds) {
    constexpr int kMillisecondsPerSecond = 1000;
    constexpr std::size_t kStep = 4096;
    const long long end =
        nowInMilliseconds() + static_cast<long long>(timeoutSeconds) * kMillisecondsPerSecond;
    std::vector<char> buffer(kStep);
    for (;;) {
        const long long left = end - nowInMilliseconds();
        if (left <= 0 || wasInterrupted()) {
            return false;
        }
        pollfd wanted[] = {{report, POLLIN, 0}, {output, POLLIN, 0}};
        // An interrupting signal ends the wait, and the loop looks whether it is ours.
        if (::poll(wanted, 2, static_cast<int>(left)) <= 0) {
            continue;
        }
        if (wanted[1].revents != 0 && ::read(output, buffer.data(), kStep) <= 0) {
            output = -1;
        }
        if (wanted[0].revents != 0) {
            const ssize_t length = ::read(report, buffer.data(), kStep);
            if (length == 0) {
                return true;
            }
            frames.append(buffer.data(), length > 0 ? static_cast<std::size_t>(length) : 0);
        }
    }
}

std::map<std::string, std::string> valuesIn(const std::string& frames) {
    std::map<std::string, std::string> values;
    std::size_t begin = 0;
    for (;;) {
        const std::size_t keyEnd = frames.find('\0', begin);
        const std::size_t valueEnd =
            keyEnd == std::string::npos ? keyEnd : frames.find('\0', keyEnd + 1);
        if (valueEnd == std::string::npos) {
            return values;
        }
        values[frames.substr(begin, keyEnd - begin)] =
            frames.substr(keyEnd + 1, valueEnd - keyEnd - 1);
        begin = valueEnd + 1;
    }
}

}  // namespace

void ChildReport::put(const std::string& key, const std::string& value) const {
    const std::string frame = key + '\0' + value.c_str() + '\0';
    for (std::size_t done = 0; done < frame.size();) {
        const ssize_t written = ::write(descriptor_, frame.data() + done, frame.size() - done);
        if (written <= 0) {
            ::_exit(1);
        }
        done += static_cast<std::size_t>(written);
    }
}

ChildResult runInChild(const std::function<void(const ChildReport&)>& work, int timeoutSeconds) {
    Pipe report;
    Pipe output;
    const pid_t parent = ::getpid();
    const pid_t child = ::fork();
    if (child < 0) {
        throw OvWalletException("Cannot start a process: " + errnoText(errno) + ".");
    }
    if (child == 0) {
        becomeHarmless(parent, output.ends[1]);
        workInChild(work, ChildReport(report.ends[1]));
    }
    report.closeEnd(1);
    output.closeEnd(1);
    std::string frames;
    const bool inTime = readUntilEnd(report.ends[0], output.ends[0], frames, timeoutSeconds);
    // Also when it has finished: what it started goes with it, and so does a child that closed its
    // report and stays.
    ::kill(child, SIGKILL);
    ::kill(-child, SIGKILL);
    int status = 0;
    ::waitpid(child, &status, 0);
    ChildResult result;
    result.values = valuesIn(frames);
    result.end = result.has(kDone) ? ChildResult::End::kFinished
                 : inTime          ? ChildResult::End::kDied
                                   : ChildResult::End::kTimedOut;
    result.signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    return result;
}

bool wasInterrupted() {
    return caughtSignal != 0;
}

void catchSignals() {
    struct sigaction action{};
    action.sa_handler = noteSignal;
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        ::sigaction(signal, &action, nullptr);
    }
}

void endIfInterrupted() {
    if (wasInterrupted()) {
        std::signal(caughtSignal, SIG_DFL);
        std::raise(caughtSignal);
    }
}

}  // namespace Orvanta_OvWallet::Tool
