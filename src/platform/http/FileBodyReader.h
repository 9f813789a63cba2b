#pragma once

#include "platform/files/OpenDescriptor.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace platform {

// The file of a request's body, open from here on and read piece by piece. Its size is that of the moment it was
// opened: of a file that grows while it is sent, no byte beyond is read. Used inside this folder, by one thread at a
// time.
class FileBodyReader {
public:
    // Throws FileError for a file that cannot be opened, and for anything but a regular file: it never waits for the
    // other end of a pipe.
    explicit FileBodyReader(std::string path);

    [[nodiscard]] std::int64_t size() const noexcept { return size_; }

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
};

} // namespace platform
