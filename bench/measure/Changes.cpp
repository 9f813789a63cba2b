#include "measure/Changes.h"

#include <fcntl.h>
#include <sys/inotify.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <new>
#include <system_error>
#include <thread>

namespace bench {

namespace {

constexpr std::int64_t changesOfCycle = 4; // of one file
constexpr std::int64_t eventsOfCycle = 6;  // a rename brings two

[[noreturn]] void fail(const char* call) {
    throw std::system_error(errno, std::generic_category(), call);
}

std::int64_t queueLimit() {
    std::int64_t limit = 0;
    std::ifstream("/proc/sys/fs/inotify/max_queued_events") >> limit;
    return std::max<std::int64_t>(limit, 4);
}

} // namespace

Changes::Changes(const std::string& tree, std::int64_t count)
    : newFile_(tree + "/the last.txt"), mostAhead_(queueLimit() / 2) {
    std::filesystem::remove(newFile_);
    for (const auto& entry : std::filesystem::recursive_directory_iterator(tree)) {
        if (entry.is_regular_file()) {
            files_.push_back(entry.path());
        }
    }
    const auto files = static_cast<std::int64_t>(files_.size());
    cycles_ = count / (changesOfCycle * std::max<std::int64_t>(files, 1));
    events_ = cycles_ * eventsOfCycle * files + 1;
    void* memory = mmap(nullptr, sizeof(Counter), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) {
        fail("mmap");
    }
    taken_ = new (memory) Counter(0);
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        fail("pipe");
    }
    process_ = fork();
    if (process_ < 0) {
        fail("fork");
    }
    if (process_ == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        close(ends[1]);
        if (char byte = 0; read(ends[0], &byte, 1) == 1) {
            make();
        }
        pause(); // an end would close the files, and that is a change
    }
    close(ends[0]);
    start_ = ends[1];
}

Changes::~Changes() {
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
    close(start_);
    munmap(taken_, sizeof(Counter));
}

void Changes::begin() const {
    if (write(start_, "", 1) != 1) {
        fail("write");
    }
}

void Changes::take(std::span<const std::byte> events) const noexcept {
    std::int64_t count = 0;
    while (!events.empty()) {
        const auto* event = reinterpret_cast<const inotify_event*>(events.data());
        events = events.subspan(sizeof *event + event->len);
        ++count;
    }
    *taken_ += count;
}

void Changes::make() const {
    std::vector<int> descriptors(files_.size());
    std::ranges::transform(files_, descriptors.begin(),
                           [](const std::string& file) { return open(file.c_str(), O_WRONLY | O_CLOEXEC); });
    std::int64_t made = 0;
    const auto makeOfEach = [&](std::int64_t eventsOfEach, const auto& change) {
        for (std::size_t file = 0; file < files_.size(); ++file) {
            keepWithinQueue(made += eventsOfEach);
            change(file);
        }
    };
    const auto writeInto = [&](std::size_t file) { return pwrite(descriptors[file], "x", 1, 0); };
    const auto renameAway = [&](std::size_t file) {
        return std::rename(files_[file].c_str(), (files_[file] + ".new").c_str());
    };
    const auto renameBack = [&](std::size_t file) {
        return std::rename((files_[file] + ".new").c_str(), files_[file].c_str());
    };
    for (std::int64_t cycle = 0; cycle < cycles_; ++cycle) {
        makeOfEach(1, writeInto);
        makeOfEach(1, writeInto);
        makeOfEach(2, renameAway);
        makeOfEach(2, renameBack);
    }
    open(newFile_.c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0644);
}

void Changes::keepWithinQueue(std::int64_t made) const {
    while (made - *taken_ > mostAhead_) {
        std::this_thread::sleep_for(std::chrono::microseconds(50));
    }
}

} // namespace bench
