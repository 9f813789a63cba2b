#pragma once

#include <cstddef>
#include <functional>
#include <span>
#include <sys/types.h>

namespace veskline {

// What the watch asks of the kernel, so that a test can refuse or delay it. Each call fails as the system call does:
// by a negative result and errno. They are called on the stream's reader thread alone.
struct WatchCalls {
    // inotify_init1(2): an instance that does not block.
    std::function<int()> createInstance;
    // inotify_add_watch(2) of an open folder, which it tells from every other however it is named: the same number for
    // the same folder.
    std::function<int(int instance, int folder)> watch;
    // Before the reader waits: leaves the folder that it may have stepped into to watch it, since a working folder
    // keeps its file system from being unmounted.
    std::function<void()> rest;
    std::function<int(int instance, int watch)> unwatch;
    // read(2) of an instance: whole events.
    std::function<ssize_t(int instance, std::span<std::byte> buffer)> read;
    // getdents64(2): fills `buffer` with entries; 0 at the end.
    std::function<ssize_t(int folder, std::span<std::byte> buffer)> list;

    // Gives the calling thread a working folder of its own, so that it may step into the folder to watch: that takes
    // two thirds of the time. False, with nothing lost, where a sandbox forbids it.
    static bool takeOwnWorkingFolder();
    static WatchCalls kernel(bool hasOwnWorkingFolder = false);
};

} // namespace veskline
