#include "platform/http/FileBodyReader.h"

#include "platform/files/FileError.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace platform {

namespace {

// Without O_NONBLOCK a pipe would hold the thread until somebody writes to it; a regular file takes no notice.
int openForReading(const std::string& path) {
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (descriptor < 0) {
        throw FileError(path, "opened", errno);
    }
    return descriptor;
}

std::int64_t sizeOf(int descriptor, const std::string& path) {
    struct stat attributes{};
    if (::fstat(descriptor, &attributes) != 0) {
        throw FileError(path, "read", errno);
    }
    if (!S_ISREG(attributes.st_mode)) {
        throw FileError(fmt::format("The file \"{}\" could not be sent: it is not a regular file", path));
    }
    return attributes.st_size;
}

} // namespace

FileBodyReader::FileBodyReader(std::string path) : path_(std::move(path)), descriptor_(openForReading(path_)) {
    try {
        size_ = sizeOf(descriptor_, path_);
    } catch (...) {
        ::close(descriptor_);
        throw;
    }
}

FileBodyReader::~FileBodyReader() {
    ::close(descriptor_);
}

std::size_t FileBodyReader::read(std::span<char> buffer) {
    const auto wanted = std::min<std::uint64_t>(buffer.size(), static_cast<std::uint64_t>(size_ - offset_));
    if (wanted == 0) {
        return 0;
    }
    ssize_t count = 0;
    do {
        count = ::pread(descriptor_, buffer.data(), wanted, offset_);
    } while (count < 0 && errno == EINTR);
    if (count < 0) {
        throw FileError(path_, "read", errno);
    }
    if (count == 0) {
        throw FileError(fmt::format("The file \"{}\" could not be sent: it became shorter meanwhile", path_));
    }
    offset_ += count;
    return static_cast<std::size_t>(count);
}

} // namespace platform
