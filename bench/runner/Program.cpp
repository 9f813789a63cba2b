#include "runner/Program.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace bench {

namespace {

std::chrono::microseconds spent(const timeval& time) {
    return std::chrono::seconds(time.tv_sec) + std::chrono::microseconds(time.tv_usec);
}

// Its output goes to `output`, and signals reach it.
pid_t spawn(std::vector<std::string>& command, int output) {
    std::vector<char*> arguments(command.size() + 1); // a null pointer ends them
    std::ranges::transform(command, arguments.begin(), [](std::string& argument) { return argument.data(); });
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t none;
    sigemptyset(&none);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK);
    pid_t process = 0;
    const int error = posix_spawnp(&process, arguments[0], &actions, &attributes, arguments.data(), environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) {
        throw std::system_error(error, std::generic_category(), command[0]);
    }
    return process;
}

} // namespace

Program::Program(std::vector<std::string> command, const Interrupt& interrupt)
    : command_(std::move(command)), interrupt_(interrupt), start_(std::chrono::steady_clock::now()) {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        throw std::system_error(errno, std::generic_category(), "pipe");
    }
    output_ = ends[0];
    try {
        process_ = spawn(command_, ends[1]);
    } catch (...) {
        close(ends[0]);
        close(ends[1]);
        throw;
    }
    close(ends[1]);
}

Program::~Program() {
    close(output_);
    if (process_ > 0) {
        kill(process_, SIGKILL);
        waitpid(process_, nullptr, 0);
    }
}

std::string Program::readLine() {
    while (text_.find('\n') == std::string::npos) {
        if (!readOutput()) {
            throw std::runtime_error(command_[0] + " ended too early");
        }
    }
    std::string line = text_.substr(0, text_.find('\n'));
    text_.erase(0, line.size() + 1);
    return line;
}

void Program::terminate() const {
    kill(process_, SIGTERM);
}

Sample Program::finish() {
    while (readOutput()) {
    }
    const Sample whole = reap();
    return readSample(text_).value_or(whole);
}

// False at the end of the output.
bool Program::readOutput() {
    std::array<pollfd, 2> ready{{{.fd = output_, .events = POLLIN, .revents = 0},
                                 {.fd = interrupt_.descriptor(), .events = POLLIN, .revents = 0}}};
    while (poll(ready.data(), ready.size(), -1) < 0 && errno == EINTR) {
    }
    interrupt_.check();
    std::array<char, 4096> buffer{};
    const ssize_t count = read(output_, buffer.data(), buffer.size());
    if (count > 0) {
        text_.append(buffer.data(), static_cast<std::size_t>(count));
    }
    return count > 0;
}

Sample Program::reap() {
    int status = 0;
    rusage usage{};
    while (wait4(process_, &status, 0, &usage) < 0 && errno == EINTR) {
    }
    process_ = 0;
    const auto wall = std::chrono::steady_clock::now() - start_;
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        interrupt_.check(); // the terminal tells all of us at once
        throw std::runtime_error(command_[0] + " " + command_[1] + " failed");
    }
    return Sample{.wall = std::chrono::duration_cast<std::chrono::microseconds>(wall),
                  .cpu = spent(usage.ru_utime) + spent(usage.ru_stime),
                  .growthKiB = usage.ru_maxrss};
}

} // namespace bench
