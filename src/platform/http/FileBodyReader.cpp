#include "platform/http/FileBodyReader.h"

#include "platform/files/FileError.h"

#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace platform {

namespace {

OpenDescriptor openForReading(const std::string& path) {
    OpenDescriptor descriptor = OpenDescriptor::file(path.c_str());
    if (!descriptor.isOpen()) {
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

FileBodyReader::FileBodyReader(std::string path)
    : path_(std::move(path)), descriptor_(openForReading(path_)), size_(sizeOf(descriptor_.number(), path_)) {
    if (size_ < largeBytes) {
        content_.emplace(static_cast<std::size_t>(size_), '\0');
        while (offset_ < size_) {
            (void)read(std::span(*content_).subspan(static_cast<std::size_t>(offset_)));
        }
        descriptor_ = OpenDescriptor();
    }
}

std::size_t FileBodyReader::read(std::span<char> buffer) {
    const auto wanted = std::min<std::uint64_t>(buffer.size(), static_cast<std::uint64_t>(size_ - offset_));
    if (wanted == 0) {
        return 0;
    }
    ssize_t count = 0;
    do {
        count = ::pread(descriptor_.number(), buffer.data(), wanted, offset_);
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
