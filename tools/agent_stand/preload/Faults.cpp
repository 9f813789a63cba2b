#include "agent_stand/preload/Faults.h"

#include "agent_stand/Machine.h"

#include <fcntl.h>
#include <fnmatch.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

namespace agent_stand::preload {

namespace {

struct Rule {
    std::array<char, 16> call;
    std::array<char, Machine::longestPath + 1> path;
    int action;
    int error;
    std::uint32_t skip;
    std::uint32_t count;
    std::atomic<std::uint32_t> matched;
};

// Set up before main, and before the program has threads.
MachineControl* control = nullptr;
std::array<Rule, Machine::mostFaults> rules;
std::size_t ruleCount = 0;

void readRules(const char* text) {
    int length = 0;
    while (ruleCount < rules.size()) {
        Rule& rule = rules[ruleCount];
        if (std::sscanf(text, "%15s %511s %d %d %u %u\n%n", rule.call.data(), rule.path.data(), &rule.action,
                        &rule.error, &rule.skip, &rule.count, &length) != 6) {
            return;
        }
        text += length;
        ++ruleCount;
    }
}

// By the kernel itself: the calls below are ours by now.
void mapControl(const char* path) {
    const auto file = static_cast<int>(::syscall(SYS_openat, AT_FDCWD, path, O_RDWR | O_CLOEXEC, 0));
    void* const place =
        file < 0 ? MAP_FAILED : ::mmap(nullptr, sizeof(MachineControl), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    if (place == MAP_FAILED) {
        std::fputs("The machine's faults can't be controlled.\n", stderr);
        std::_Exit(EXIT_FAILURE);
    }
    ::close(file);
    control = static_cast<MachineControl*>(place);
}

[[gnu::constructor]] void setUp() {
    const char* const path = std::getenv("VESKLINE_MACHINE_CONTROL");
    const char* const text = std::getenv("VESKLINE_MACHINE_FAULTS");
    if (path != nullptr && text != nullptr) {
        readRules(text);
        mapControl(path);
    }
}

bool mayConcern(const char* call) noexcept {
    if (control == nullptr || control->isOn == 0) {
        return false;
    }
    for (std::size_t i = 0; i < ruleCount; ++i) {
        if (std::strcmp(rules[i].call.data(), call) == 0) {
            return true;
        }
    }
    return false;
}

Rule* ruleFor(const char* call, const char* path) noexcept {
    for (std::size_t i = 0; i < ruleCount; ++i) {
        Rule& rule = rules[i];
        if (std::strcmp(rule.call.data(), call) == 0 && ::fnmatch(rule.path.data(), path, FNM_NOESCAPE) == 0) {
            const std::uint32_t place = rule.matched++;
            if (place >= rule.skip && place - rule.skip < rule.count) {
                return &rule;
            }
        }
    }
    return nullptr;
}

void hold() noexcept {
    const std::uint32_t place = control->held++;
    while (control->released <= place) {
        constexpr long oneMillisecond = 1'000'000;
        const timespec moment{.tv_sec = 0, .tv_nsec = oneMillisecond};
        ::syscall(SYS_clock_nanosleep, CLOCK_MONOTONIC, 0, &moment, nullptr);
    }
}

Outcome meet(const Rule& rule) noexcept {
    ++control->hits;
    switch (static_cast<Machine::Action>(rule.action)) {
    case Machine::Action::kill:
        killSelf();
    case Machine::Action::killAfter:
        return Outcome::killAfterwards;
    case Machine::Action::hold:
        hold();
        return Outcome::asUsual;
    case Machine::Action::fail:
        break;
    }
    errno = rule.error;
    return Outcome::failed;
}

std::size_t nameOf(int descriptor, char* name, std::size_t size) noexcept {
    std::array<char, 32> link;
    std::snprintf(link.data(), link.size(), "/proc/self/fd/%d", descriptor);
    const ssize_t length = ::readlink(link.data(), name, size - 1);
    name[length < 0 ? 0 : length] = '\0';
    return std::strlen(name);
}

} // namespace

Outcome onPath(const char* call, const char* path) noexcept {
    if (!mayConcern(call)) {
        return Outcome::asUsual;
    }
    const Rule* const rule = ruleFor(call, path);
    return rule != nullptr ? meet(*rule) : Outcome::asUsual;
}

Outcome onEntry(const char* call, int folder, const char* name) noexcept {
    if (*name == '/' || folder == AT_FDCWD || !mayConcern(call)) {
        return onPath(call, name);
    }
    const int before = errno;
    std::array<char, std::size_t{2} * PATH_MAX> path;
    const std::size_t length = nameOf(folder, path.data(), PATH_MAX);
    std::snprintf(path.data() + length, path.size() - length, "/%s", name);
    errno = before;
    return onPath(call, path.data());
}

Outcome onDescriptor(const char* call, int descriptor) noexcept {
    if (!mayConcern(call)) {
        return Outcome::asUsual;
    }
    const int before = errno;
    std::array<char, PATH_MAX> path;
    nameOf(descriptor, path.data(), path.size());
    errno = before;
    return onPath(call, path.data());
}

std::int64_t monotonicShift() noexcept {
    return control != nullptr ? control->monotonicShift.load() : 0;
}

std::int64_t wallShift() noexcept {
    return control != nullptr ? control->wallShift.load() : 0;
}

bool isControlled() noexcept {
    return control != nullptr;
}

void killSelf() noexcept {
    ::kill(::getpid(), SIGKILL);
    std::abort();
}

} // namespace agent_stand::preload
