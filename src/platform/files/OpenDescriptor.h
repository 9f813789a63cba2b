#pragma once

#include <fcntl.h>
#include <string>
#include <utility>

namespace platform {

// An open file descriptor and its close(2): one owner, who may hand it on. Empty where the number is negative.
//
// What opens one gives an empty one on failure, with errno set. Any thread.
class OpenDescriptor {
public:
    OpenDescriptor() noexcept = default;
    explicit OpenDescriptor(int number) noexcept : number_(number) {}
    OpenDescriptor(OpenDescriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    OpenDescriptor& operator=(OpenDescriptor&& other) noexcept {
        std::swap(number_, other.number_);
        return *this;
    }
    ~OpenDescriptor() {
        if (isOpen()) {
            (void)close();
        }
    }

    // For reading, with `flags` of open(2) on top. Neither waits for nor does anything to what lies there instead of a
    // file, such as a pipe or a device.
    [[nodiscard]] static OpenDescriptor file(const char* path, int flags = 0) noexcept;

    // A new file of this user alone (mode 0600), for writing. Never what lies there already: that could be a link, or
    // another user's file to read what is written.
    [[nodiscard]] static OpenDescriptor newFile(const char* path) noexcept;

    // A folder by its name in an open one, or AT_FDCWD, with `flags` of openat(2) on top.
    [[nodiscard]] static OpenDescriptor folder(int parent, const char* name, int flags = 0) noexcept;
    [[nodiscard]] static OpenDescriptor folder(int parent, const std::string& name, int flags = 0) noexcept {
        return folder(parent, name.c_str(), flags);
    }

    // Another one of the same open file.
    [[nodiscard]] OpenDescriptor duplicate() const noexcept;

    [[nodiscard]] int number() const noexcept { return number_; }
    [[nodiscard]] bool isOpen() const noexcept { return number_ >= 0; }

    // For who has written and wants to know whether it went well: false with errno. Empty from here on either way.
    [[nodiscard]] bool close() noexcept;

private:
    int number_ = -1;
};

} // namespace platform
