#pragma once

#include "platform/files/PathList.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <sys/stat.h>

namespace platform {

// What a scan compares to tell a changed file from an unchanged one.
struct FileAttributes {
    std::int64_t bytes = 0; // 0 for what is no regular file
    // Milliseconds since 1970-01-01 UTC with their fraction: seconds and nanoseconds as one double, times 1000.0. The
    // start of the year 1 where the file system tells no time.
    double mtimeMilliseconds = 0;
    bool operator==(const FileAttributes&) const = default;
};

// Asks once, by path (statx(2)), and follows links. Throws FileError.
[[nodiscard]] FileAttributes readFileAttributes(const std::string& path);

// The same; absent, with the reason in errno, where the file cannot be looked at.
[[nodiscard]] std::optional<FileAttributes> findFileAttributes(const char* path) noexcept;

// The same for files next to each other in a sorted list, from the one at `first` on: one answer a file. The folder
// that all of them share is looked up once, which spares each the better part of its path.
void findFileAttributes(const PathList& files, std::size_t first,
                        std::span<std::optional<FileAttributes>> answers) noexcept;

// The same out of what the system answered, which may lack the time.
[[nodiscard]] FileAttributes attributesOf(const struct statx& answer) noexcept;

} // namespace platform
