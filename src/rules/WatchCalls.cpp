#include "rules/WatchCalls.h"

#include <fmt/format.h>

#include <array>
#include <cstdint>
#include <dirent.h>
#include <sched.h>
#include <sys/inotify.h>
#include <unistd.h>

namespace veskline {

namespace {

// Changes of content, name and attributes, and the close after writing: a file that was written through a mapping shows
// nothing else. Never opens, reads and the close after them, or every scan would bring the next.
constexpr std::uint32_t changes = IN_MODIFY | IN_CLOSE_WRITE | IN_ATTRIB | IN_CREATE | IN_DELETE | IN_MOVED_FROM |
                                  IN_MOVED_TO | IN_DELETE_SELF | IN_MOVE_SELF;

int addWatch(int instance, const char* name) {
    return ::inotify_add_watch(instance, name, changes | IN_ONLYDIR | IN_EXCL_UNLINK);
}

// Its name in /proc is as good as an open folder: no link, no rename comes between.
int watchByDescriptor(int instance, int folder) {
    std::array<char, 64> name{};
    fmt::format_to_n(name.data(), name.size() - 1, "/proc/self/fd/{}", folder);
    return addWatch(instance, name.data());
}

// To step into a folder takes the right to pass through it, which to watch it does not.
int watchFromWithin(int instance, int folder) {
    return ::fchdir(folder) == 0 ? addWatch(instance, ".") : watchByDescriptor(instance, folder);
}

void stepOut() {
    (void)::chdir("/");
}

} // namespace

bool WatchCalls::takeOwnWorkingFolder() {
    return ::unshare(CLONE_FS) == 0;
}

// There is no call that takes an open folder.
WatchCalls WatchCalls::kernel(bool hasOwnWorkingFolder) {
    return {
        .createInstance = [] { return ::inotify_init1(IN_CLOEXEC | IN_NONBLOCK); },
        .watch = hasOwnWorkingFolder ? watchFromWithin : watchByDescriptor,
        .rest = hasOwnWorkingFolder ? stepOut : [] {},
        .unwatch = ::inotify_rm_watch,
        .read = [](int instance,
                   std::span<std::byte> buffer) { return ::read(instance, buffer.data(), buffer.size()); },
        .list = [](int folder,
                   std::span<std::byte> buffer) { return ::getdents64(folder, buffer.data(), buffer.size()); },
    };
}

} // namespace veskline
