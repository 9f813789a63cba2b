#include "platform/files/FileOwnership.h"

#include "platform/files/FileError.h"

#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

namespace platform {

bool isOwnRegularFile(const struct stat& attributes) {
    return S_ISREG(attributes.st_mode) && attributes.st_uid == ::geteuid() && attributes.st_nlink <= 1;
}

void refuseForeignFile(const std::string& path) {
    struct stat attributes{};
    if (::lstat(path.c_str(), &attributes) == 0 && !isOwnRegularFile(attributes)) {
        throw FileError(
            fmt::format("The file \"{}\" could not be used: it is a link or not a file of this user alone", path));
    }
}

} // namespace platform
