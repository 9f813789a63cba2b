#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <sys/types.h>
#include <vector>

namespace bench {

// Changes of the files of a tree, made by a process of its own, so that what making them costs is not counted with
// whoever watches. File after file is written to, again, renamed and renamed back; the last change makes a new file.
//
// No two events in a row are equal, so that the kernel delivers each (inotify(7)), and no more of them are made ahead
// than half its queue holds.
class Changes {
public:
    // Makes none yet. Give it no thread: it forks. Throws std::system_error.
    Changes(const std::string& tree, std::int64_t count);
    // Ends the process.
    ~Changes();
    Changes(const Changes&) = delete;
    Changes& operator=(const Changes&) = delete;

    void begin() const;

    // To be told what each read(2) of the inotify instance gave.
    void take(std::span<const std::byte> events) const noexcept;
    [[nodiscard]] std::int64_t taken() const noexcept { return *taken_; }
    // How many events they bring in all.
    [[nodiscard]] std::int64_t events() const noexcept { return events_; }
    [[nodiscard]] const std::string& newFile() const noexcept { return newFile_; }

private:
    using Counter = std::atomic<std::int64_t>;

    void make() const;
    void keepWithinQueue(std::int64_t made) const;

    std::vector<std::string> files_;
    std::string newFile_;
    std::int64_t cycles_ = 0;
    std::int64_t events_ = 0;
    std::int64_t mostAhead_ = 0;
    Counter* taken_ = nullptr; // in memory that both processes see
    int start_ = -1;
    pid_t process_ = 0;
};

} // namespace bench
