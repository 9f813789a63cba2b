#include "platform/files/FileAttributes.h"

#include "platform/files/FileError.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>

namespace platform {

namespace {

constexpr std::int64_t startOfYearOne = -62'135'596'800; // in seconds since 1970-01-01 UTC

} // namespace

double millisecondsSinceEpoch(std::int64_t seconds, std::uint32_t nanoseconds) noexcept {
    return (static_cast<double>(seconds) + static_cast<double>(nanoseconds) / 1e9) * 1000.0;
}

FileAttributes readFileAttributes(const std::string& path) {
    struct statx found{};
    if (::statx(AT_FDCWD, path.c_str(), 0, STATX_TYPE | STATX_SIZE | STATX_MTIME, &found) != 0) {
        throw FileError(path, "looked at", errno);
    }
    const bool hasTime = (found.stx_mask & STATX_MTIME) != 0;
    return FileAttributes{
        .bytes = S_ISREG(found.stx_mode) ? static_cast<std::int64_t>(found.stx_size) : 0,
        .mtimeMilliseconds = hasTime ? millisecondsSinceEpoch(found.stx_mtime.tv_sec, found.stx_mtime.tv_nsec)
                                     : millisecondsSinceEpoch(startOfYearOne, 0),
    };
}

} // namespace platform
