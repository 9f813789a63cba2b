#pragma once

#include "platform/async/Executor.h"
#include "platform/files/FileSystemIdentity.h"

#include <atomic>
#include <cstddef>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <sys/types.h>
#include <vector>

namespace platform {

// One walk through a folder and all below it, made for whole disks: a few system calls a folder and none a file, memory
// that grows with the depth alone, at most 64 open descriptors a thread, and no recursion, so that no tree is too deep.
//
// Links below the root are not followed, not even one that takes a folder's place during the walk; the root itself may
// be one. Folders are opened relative to their parents and entered once all of the parent is listed. File systems that
// the kernel makes up are not entered. A folder that is bound below itself is entered once.
namespace DirectoryWalk {

// Of the folders on the way down. One more is open while it is listed.
inline constexpr std::size_t mostOpenFolders = 63;

struct Visitor {
    // Asked for each entry by its name alone. On false the entry is dropped with all that lies in it.
    std::function<bool(std::string_view name)> wants;
    // Told of each regular file in the order of the walk: its whole path, and the name that ends it. Both are only
    // lent.
    std::function<void(std::string_view path, std::string_view name)> file;
};

// A folder that could not be listed, or not to its end: nothing is known of what lies in it. `reason` are the system's
// words. What vanished during the walk is none.
struct Failure {
    std::string path;
    std::string reason;
    bool operator==(const Failure&) const = default;
};

// A folder where a file system begins, with the text of its identity.
struct MountPoint {
    std::string path;
    std::string identity;
    bool operator==(const MountPoint&) const = default;
};

struct Outcome {
    std::vector<Failure> failures;
    std::vector<MountPoint> fileSystems; // the root's first
};

// What is asked of the kernel. Each call fails as the system call does: by a negative result, or none, and errno.
struct Calls {
    // getdents64(2): fills `buffer` with entries; 0 at the end.
    std::function<ssize_t(int folder, std::span<std::byte> buffer)> read;
    // fstatat(2) of an entry without following a link, or with an empty name of the open folder itself.
    std::function<int(int folder, const char* name, struct stat& found)> stat;
    std::function<std::optional<FileSystemIdentity>(int folder)> identify;

    static Calls kernel();
};

// A second thread for a walk, taken when the executor has one to spare; without an executor there is none. Part of the
// folders are then listed there at the same time, and `visitor` is told of what lies in them, on that thread.
struct Helper {
    async::Executor executor;
    Visitor visitor;
};

// Walks `root` and returns when all is seen. Runs on the caller, which it blocks; never throws for what lies on the
// disk, only what a visitor throws. A root that is missing, unreadable or no folder is a failure with the root's own
// path. Once `*stop` is true it returns at the next folder; the root then counts as a failure too, since nobody may
// take what was not seen for gone.
[[nodiscard]] Outcome run(const std::string& root, const Visitor& visitor, const std::atomic<bool>* stop = nullptr,
                          const Calls& calls = Calls::kernel(), const Helper& helper = {});

} // namespace DirectoryWalk

} // namespace platform
