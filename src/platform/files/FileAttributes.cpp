#include "platform/files/FileAttributes.h"

#include "platform/files/FileError.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>

namespace platform {

namespace {

constexpr double startOfYearOne = -62'135'596'800'000.0;

} // namespace

FileAttributes readFileAttributes(const std::string& path) {
    const std::optional<FileAttributes> attributes = findFileAttributes(path.c_str());
    if (!attributes) {
        throw FileError(path, "looked at", errno);
    }
    return *attributes;
}

std::optional<FileAttributes> findFileAttributes(const char* path) noexcept {
    struct statx answer; // filled by a success, and not before: this is called for each file of a scan
    if (::statx(AT_FDCWD, path, 0, STATX_TYPE | STATX_SIZE | STATX_MTIME, &answer) != 0) {
        return std::nullopt;
    }
    return attributesOf(answer);
}

FileAttributes attributesOf(const struct statx& answer) noexcept {
    const double seconds =
        static_cast<double>(answer.stx_mtime.tv_sec) + static_cast<double>(answer.stx_mtime.tv_nsec) / 1e9;
    return FileAttributes{
        .bytes = S_ISREG(answer.stx_mode) ? static_cast<std::int64_t>(answer.stx_size) : 0,
        .mtimeMilliseconds = (answer.stx_mask & STATX_MTIME) != 0 ? seconds * 1000.0 : startOfYearOne,
    };
}

} // namespace platform
