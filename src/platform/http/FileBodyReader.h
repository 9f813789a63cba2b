#pragma once

#include "platform/files/OpenDescriptor.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace platform {

// The file of a request's body, open from here on and read piece by piece; a small one is read at once. Its size is
// that of the moment it was opened: of a file that grows while it is sent, no byte beyond is read. Used inside this
// folder, by one thread at a time.
class FileBodyReader {
public:
    // Smaller files go out in one piece with the head: one packet and one waking of the other side less.
    static constexpr std::int64_t largeBytes = 65'536;

    // Throws FileError for a file that cannot be opened, or not read where it is small, and for anything but a regular
    // file: it never waits for the other end of a pipe.
    explicit FileBodyReader(std::string path);

    [[nodiscard]] std::int64_t size() const noexcept { return size_; }

    // All of a small file; none of a large one, which is to be read.
    [[nodiscard]] const std::optional<std::string>& content() const noexcept { return content_; }

    // Reads on into `buffer`; gives the bytes read, 0 after the last one alone. Throws FileError where the file cannot
    // be read or has become shorter: there is no way to send what was announced.
    [[nodiscard]] std::size_t read(std::span<char> buffer);

    // The next read() starts from the beginning.
    void rewind() noexcept { offset_ = 0; }

private:
    std::string path_;
    OpenDescriptor descriptor_;
    std::int64_t size_;
    std::int64_t offset_ = 0;
    std::optional<std::string> content_;
};

} // namespace platform
