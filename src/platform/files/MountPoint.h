#pragma once

#include <string>

namespace platform {

// The folder at which the file system is mounted that holds `path`, or would hold it: what a user knows as the disk.
// `path` is absolute. A folder that cannot be looked at passes for one of the file system above it.
[[nodiscard]] std::string mountPoint(std::string path);

} // namespace platform
