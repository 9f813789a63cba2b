#pragma once

#include <string>

struct stat;

namespace platform {

// Whose a file is, for files in a folder where others may create some too, /tmp above all.

// A regular file of the process's effective user, with no second name: that could make a write to it land in a file
// that the user keeps elsewhere.
[[nodiscard]] bool isOwnRegularFile(const struct stat& attributes);

// Throws FileError, in words, where something else lies at `path`: a link, another user's file. Nothing there is fine.
void refuseForeignFile(const std::string& path);

} // namespace platform
