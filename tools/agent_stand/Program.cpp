#include "agent_stand/Program.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>

namespace agent_stand {

namespace {

std::vector<char*> pointers(std::vector<std::string>& texts) {
    std::vector<char*> list;
    list.reserve(texts.size() + 1);
    for (std::string& text : texts) {
        list.push_back(text.data());
    }
    list.push_back(nullptr);
    return list;
}

} // namespace

Program::Environment Program::emptyEnvironment() {
    Environment environment;
    for (const char* const name : {"ASAN_OPTIONS", "UBSAN_OPTIONS", "TSAN_OPTIONS"}) {
        if (const char* const value = std::getenv(name)) {
            environment[name] = value;
        }
    }
    return environment;
}

Program::Program(const std::string& name, const std::vector<std::string>& arguments, const Environment& environment)
    : errors_(::memfd_create("errors", MFD_CLOEXEC)) {
    const auto path = std::filesystem::read_symlink("/proc/self/exe").parent_path() / name;
    std::vector<std::string> words{path.string()};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<std::string> variables;
    variables.reserve(environment.size());
    for (const auto& [key, value] : environment) {
        variables.push_back(fmt::format("{}={}", key, value));
    }
    std::array<int, 2> ends{-1, -1};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    const bool isStarted =
        ::pipe2(ends.data(), O_CLOEXEC) == 0 &&
        posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO) == 0 &&
        posix_spawn_file_actions_adddup2(&actions, errors_, STDERR_FILENO) == 0 &&
        ::posix_spawn(&pid_, path.c_str(), &actions, nullptr, pointers(words).data(), pointers(variables).data()) == 0;
    posix_spawn_file_actions_destroy(&actions);
    ::close(ends[1]);
    if (!isStarted) {
        ::close(ends[0]);
        ::close(errors_);
        throw std::runtime_error("could not start " + path.string());
    }
    reader_ = std::thread([this, descriptor = ends[0]] { readOutput(descriptor); });
}

Program::~Program() {
    if (!hasEnded_) {
        signal(SIGKILL);
    }
    wait();
    ::close(errors_);
}

void Program::signal(int number) const {
    if (hasEnded_) {
        return; // its number may be another's by now
    }
    ::kill(pid_, number);
}

int Program::wait() {
    if (!hasEnded_) {
        ::waitpid(pid_, &status_, 0);
        hasEnded_ = true;
        reader_.join();
    }
    return WIFEXITED(status_) ? WEXITSTATUS(status_) : -WTERMSIG(status_);
}

void Program::readOutput(int descriptor) {
    std::string rest;
    std::array<char, 65536> buffer;
    for (ssize_t count = 0; (count = ::read(descriptor, buffer.data(), buffer.size())) > 0;) {
        rest.append(buffer.data(), static_cast<std::size_t>(count));
        const std::lock_guard lock(mutex_);
        for (std::size_t end = 0; (end = rest.find('\n')) != std::string::npos; rest.erase(0, end + 1)) {
            output_.push_back(rest.substr(0, end));
        }
        changed_.notify_all();
    }
    ::close(descriptor);
    const std::lock_guard lock(mutex_);
    isOutputOver_ = true;
    changed_.notify_all();
}

bool Program::waitForLine(std::string_view beginning, std::size_t count, std::chrono::milliseconds atMost) {
    std::unique_lock lock(mutex_);
    const auto isThere = [&] {
        return static_cast<std::size_t>(std::ranges::count_if(
                   output_, [&](const std::string& line) { return line.starts_with(beginning); })) >= count;
    };
    changed_.wait_for(lock, atMost, [&] { return isOutputOver_ || isThere(); });
    return isThere();
}

bool Program::isOutputOver() const {
    const std::lock_guard lock(mutex_);
    return isOutputOver_;
}

std::vector<std::string> Program::output() const {
    const std::lock_guard lock(mutex_);
    return output_;
}

std::string Program::lastLine(std::string_view beginning) const {
    const std::lock_guard lock(mutex_);
    const auto last = std::find_if(output_.rbegin(), output_.rend(),
                                   [&](const std::string& line) { return line.starts_with(beginning); });
    return last == output_.rend() ? "" : *last;
}

std::string Program::errors() const {
    std::string text(4096, '\0');
    const ssize_t count = ::pread(errors_, text.data(), text.size(), 0);
    text.resize(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    return text;
}

} // namespace agent_stand
