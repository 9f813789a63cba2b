#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace floors {

// The watches of a tree, by the least work: inotify_add_watch, openat and getdents64 for each folder, and one statx for
// each file, for what changed before the watch stood shows nowhere else. Nothing is remembered.
class Watches {
public:
    // Throws std::system_error where a watch is refused.
    explicit Watches(const std::string& root);
    ~Watches();
    Watches(const Watches&) = delete;
    Watches& operator=(const Watches&) = delete;

    [[nodiscard]] int instance() const { return instance_; }

    std::int64_t count = 0;

private:
    void add(int parent, const char* name, std::size_t pathLength);

    static constexpr std::size_t bufferBytes = 65536;

    char path_[8192];
    std::unique_ptr<char[]> buffer_ = std::make_unique_for_overwrite<char[]>(bufferBytes);
    int instance_;
};

} // namespace floors
