#pragma once

#include <string>

namespace platform {

// Makes the folder `path` and all that is missing above it. What this makes is private to the user (mode 0700, less
// the process's umask); a folder that is there already, or a link to one, is left as it is. Throws FileError; what was
// made above the failure stays.
void createFolders(const std::string& path);

} // namespace platform
