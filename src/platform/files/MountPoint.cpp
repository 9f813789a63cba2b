#include "platform/files/MountPoint.h"

#include "platform/files/Paths.h"

#include <sys/stat.h>

#include <optional>

namespace platform {

namespace {

std::optional<dev_t> deviceOf(const std::string& path) {
    struct stat found = {};
    return ::stat(path.c_str(), &found) == 0 ? std::optional(found.st_dev) : std::nullopt;
}

} // namespace

std::string mountPoint(std::string path) {
    std::optional<dev_t> device = deviceOf(path);
    while (path.size() > 1) {
        std::string above(parentPath(path));
        const std::optional<dev_t> deviceAbove = deviceOf(above);
        if (device && deviceAbove && deviceAbove != device) {
            break;
        }
        device = deviceAbove ? deviceAbove : device;
        path = std::move(above);
    }
    return path;
}

} // namespace platform
