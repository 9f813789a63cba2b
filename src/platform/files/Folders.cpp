#include "platform/files/Folders.h"

#include "platform/files/FileError.h"

#include <sys/stat.h>

#include <cerrno>

namespace platform {

namespace {

bool isFolder(const std::string& path) {
    struct stat attributes{};
    return ::stat(path.c_str(), &attributes) == 0 && S_ISDIR(attributes.st_mode);
}

// The path of the folder above, without the slashes between; empty where there is none to make.
std::string above(const std::string& path) {
    const std::size_t nameEnd = path.find_last_not_of('/');
    const std::size_t slash = path.find_last_of('/', nameEnd);
    if (nameEnd == std::string::npos || slash == std::string::npos) {
        return {};
    }
    const std::size_t end = path.find_last_not_of('/', slash);
    return end == std::string::npos ? std::string() : path.substr(0, end + 1);
}

// 0, or the errno of the failure. Others may make the same folder meanwhile.
int createFolder(const std::string& path) {
    if (::mkdir(path.c_str(), 0700) == 0) {
        return 0;
    }
    const int number = errno;
    return isFolder(path) ? 0 : number;
}

} // namespace

void createFolders(const std::string& path) {
    int number = createFolder(path);
    if (const std::string parent = above(path); number == ENOENT && !parent.empty()) {
        createFolders(parent);
        number = createFolder(path);
    }
    if (number != 0) {
        throw FileError(path, "created as a folder", number);
    }
}

} // namespace platform
