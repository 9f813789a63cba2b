#include "platform/files/FileStamp.h"

#include <chrono>
#include <sys/stat.h>

namespace platform {

namespace {

// Many times the longest step of a time that is told in nanoseconds.
constexpr auto settling = std::chrono::milliseconds(100);

std::chrono::nanoseconds sinceEpoch(const struct timespec& time) {
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

bool hasSettled(const struct timespec& change) {
    struct timespec now{};
    return change.tv_nsec != 0 && ::clock_gettime(CLOCK_REALTIME, &now) == 0 &&
           sinceEpoch(now) - sinceEpoch(change) > settling;
}

} // namespace

// The time of the content alone can be set to anything; that of the change of anything cannot.
std::optional<FileStamp> FileStamp::of(const std::string& path) noexcept {
    struct stat found{};
    if (::stat(path.c_str(), &found) != 0) {
        return std::nullopt;
    }
    FileStamp stamp;
    stamp.device_ = found.st_dev;
    stamp.inode_ = found.st_ino;
    stamp.bytes_ = found.st_size;
    stamp.changed_ = found.st_ctim;
    stamp.showsNextChange_ = hasSettled(found.st_ctim);
    return stamp;
}

} // namespace platform
