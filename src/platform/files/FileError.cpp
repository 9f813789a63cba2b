#include "platform/files/FileError.h"

#include "platform/files/MountPoint.h"

#include <fmt/format.h>

#include <cerrno>

namespace platform {

namespace {

// Which disk it is, where the reason lies there and not with the file.
std::string diskOf(std::string_view path, int number) {
    const bool isOfTheDisk = number == ENOSPC || number == EDQUOT || number == EROFS;
    return isOfTheDisk && path.starts_with('/')
               ? fmt::format(" (the disk mounted at \"{}\")", mountPoint(std::string(path)))
               : std::string();
}

} // namespace

FileError::FileError(std::string_view path, std::string_view what, int number)
    : std::runtime_error(fmt::format("The file \"{}\" could not be {}: {}{}", path, what,
                                     std::error_code(number, std::generic_category()).message(), diskOf(path, number))),
      code_(number, std::generic_category()) {}

FileError::FileError(const std::string& words) : std::runtime_error(words) {}

} // namespace platform
