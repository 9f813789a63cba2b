#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <sys/types.h>
#include <time.h>

namespace platform {

// By which a file that was read can be told to be still the same without reading it again: which file it is, its size,
// and when it last changed (inode(7)). To be taken before the reading, so that it is never younger than what was read.
class FileStamp {
public:
    // Of what lies at `path`, links followed. Absent, with the reason in errno, where that cannot be looked at.
    [[nodiscard]] static std::optional<FileStamp> of(const std::string& path) noexcept;

    // Whether the next change is bound to give another stamp. Times advance in steps, some milliseconds long or whole
    // seconds, so that of two changes within one step the second shows nowhere: a file that changed just now, or whose
    // time is told in seconds, is to be read again.
    [[nodiscard]] bool showsNextChange() const noexcept { return showsNextChange_; }

    // Of the same file in the same state.
    friend bool operator==(const FileStamp& one, const FileStamp& other) noexcept {
        return one.device_ == other.device_ && one.inode_ == other.inode_ && one.bytes_ == other.bytes_ &&
               one.changed_.tv_sec == other.changed_.tv_sec && one.changed_.tv_nsec == other.changed_.tv_nsec;
    }

private:
    dev_t device_ = 0;
    ino_t inode_ = 0;
    std::int64_t bytes_ = 0;
    struct timespec changed_{};
    bool showsNextChange_ = false;
};

} // namespace platform
