#include "platform/files/OpenDescriptor.h"

#include <unistd.h>

#include <cerrno>

namespace platform {

namespace {

// A file system over the network may let a signal break an open off.
template <class Open>
OpenDescriptor opened(Open open) noexcept {
    int number = -1;
    do {
        number = open();
    } while (number < 0 && errno == EINTR);
    return OpenDescriptor(number);
}

} // namespace

OpenDescriptor OpenDescriptor::file(const char* path, int flags) noexcept {
    return opened([&] { return ::open(path, flags | O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY); });
}

OpenDescriptor OpenDescriptor::newFile(const char* path) noexcept {
    return OpenDescriptor(::open(path, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
}

OpenDescriptor OpenDescriptor::folder(int parent, const char* name, int flags) noexcept {
    return opened([&] { return ::openat(parent, name, flags | O_RDONLY | O_DIRECTORY | O_CLOEXEC); });
}

OpenDescriptor OpenDescriptor::duplicate() const noexcept {
    return OpenDescriptor(::fcntl(number_, F_DUPFD_CLOEXEC, 0));
}

bool OpenDescriptor::close() noexcept {
    return number_ < 0 || ::close(std::exchange(number_, -1)) == 0;
}

} // namespace platform
