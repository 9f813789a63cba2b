#pragma once

#include <fcntl.h>
#include <string>
#include <unistd.h>
#include <utility>

namespace veskline {

// An open file descriptor and its close. Empty where the number is negative.
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
        if (number_ >= 0) {
            ::close(number_);
        }
    }

    // openat(2) of a folder with `flags` on top; empty on failure, with errno set.
    [[nodiscard]] static OpenDescriptor folder(int parent, const std::string& name, int flags) {
        return OpenDescriptor(::openat(parent, name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | flags));
    }

    [[nodiscard]] int number() const noexcept { return number_; }
    [[nodiscard]] bool isOpen() const noexcept { return number_ >= 0; }

private:
    int number_ = -1;
};

} // namespace veskline
