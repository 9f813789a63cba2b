#include "platform/files/FileError.h"

#include <fmt/format.h>

namespace platform {

FileError::FileError(std::string_view path, std::string_view what, int number)
    : std::runtime_error(fmt::format("The file \"{}\" could not be {}: {}", path, what,
                                     std::error_code(number, std::generic_category()).message())),
      code_(number, std::generic_category()) {}

FileError::FileError(const std::string& words) : std::runtime_error(words) {}

} // namespace platform
