#include "platform/files/OpenDescriptor.h"

#include <unistd.h>

#include <cerrno>

namespace platform {

namespace {

// A file system over the network may let a signal break an open off.
int openWhole(int parent, const char* path, int flags) noexcept {
    int number = -1;
    do {
        number = ::openat(parent, path, flags | O_RDONLY | O_CLOEXEC);
    } while (number < 0 && errno == EINTR);
    return number;
}

} // namespace

OpenDescriptor OpenDescriptor::file(const char* path, int flags) noexcept {
    return OpenDescriptor(openWhole(AT_FDCWD, path, flags | O_NONBLOCK | O_NOCTTY));
}

OpenDescriptor OpenDescriptor::folder(int parent, const char* name, int flags) noexcept {
    return OpenDescriptor(openWhole(parent, name, flags | O_DIRECTORY));
}

bool OpenDescriptor::close() noexcept {
    return number_ < 0 || ::close(std::exchange(number_, -1)) == 0;
}

} // namespace platform
