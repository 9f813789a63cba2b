#include "platform/files/FileAttributes.h"

#include "platform/files/FileError.h"
#include "platform/files/OpenDescriptor.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>

namespace platform {

namespace {

constexpr double startOfYearOne = -62'135'596'800'000.0;

std::optional<FileAttributes> findFileAttributes(int folder, const char* path) noexcept {
    struct statx answer; // filled by a success, and not before: this is called for each file of a scan
    if (::statx(folder, path, 0, STATX_TYPE | STATX_SIZE | STATX_MTIME, &answer) != 0) {
        return std::nullopt;
    }
    return attributesOf(answer);
}

// For so many it is worth opening the folder that they share.
constexpr std::size_t fewestToShare = 4;

// The length of the path of the deepest folder that holds both, with its slash. What stands between the two in a sorted
// list lies there as well.
std::size_t sharedFolderLength(std::string_view first, std::string_view last) noexcept {
    const auto difference = std::ranges::mismatch(first, last).in1;
    return std::string_view(first.begin(), difference).rfind('/') + 1;
}

OpenDescriptor openFolder(std::string_view path) noexcept {
    std::array<char, PATH_MAX> name;
    if (path.size() >= name.size()) {
        return {};
    }
    *std::ranges::copy(path, name.begin()).out = '\0';
    return OpenDescriptor::folder(AT_FDCWD, name.data(), O_PATH);
}

} // namespace

FileAttributes readFileAttributes(const std::string& path) {
    const std::optional<FileAttributes> attributes = findFileAttributes(path.c_str());
    if (!attributes) {
        throw FileError(path, "looked at", errno);
    }
    return *attributes;
}

std::optional<FileAttributes> findFileAttributes(const char* path) noexcept {
    return findFileAttributes(AT_FDCWD, path);
}

void findFileAttributes(const PathList& files, std::size_t first,
                        std::span<std::optional<FileAttributes>> answers) noexcept {
    OpenDescriptor folder;
    std::size_t length = 0;
    if (answers.size() >= fewestToShare) {
        length = sharedFolderLength(files[first], files[first + answers.size() - 1]);
        folder = openFolder(files[first].substr(0, length));
    }
    for (std::size_t i = 0; i < answers.size(); ++i) {
        const char* const path = files.cString(first + i);
        answers[i] = folder.isOpen() ? findFileAttributes(folder.number(), path + length) : findFileAttributes(path);
    }
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
