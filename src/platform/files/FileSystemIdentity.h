#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <sys/types.h>

namespace platform {

// Which file system a folder lies on.
struct FileSystemIdentity {
    // Its type and id (statfs(2)) as text. Two folders with different texts lie on different file systems; a volume
    // keeps its text over a restart as far as its file system has an id of its own.
    std::string text;
    // The kernel makes up what it holds (proc, sysfs, device nodes and their kind): no documents lie there. A tmpfs is
    // not meant: people keep files in it.
    bool isKernelMade = false;
};

// Of an open folder. None where the system refuses to tell; errno then says why.
[[nodiscard]] std::optional<FileSystemIdentity> fileSystemIdentity(int folder);

// The type's name ("devtmpfs") of the file system with this device number, out of the text of /proc/self/mountinfo
// (proc(5)); empty where it is not listed. statfs(2) cannot tell the folder of device nodes from a tmpfs.
[[nodiscard]] std::string_view mountedType(std::string_view mountInfo, dev_t device);

} // namespace platform
