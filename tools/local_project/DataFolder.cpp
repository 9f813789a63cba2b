#include "local_project/DataFolder.h"

#include <cerrno>
#include <cstring>
#include <stdexcept>

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <unistd.h>

namespace local_project {

namespace fs = std::filesystem;

DataFolder::DataFolder(fs::path folder) : folder_(std::move(folder)) {
    if (fs::create_directories(folder_)) {
        fs::permissions(folder_, fs::perms::owner_all);
    }
    const fs::path file = folder_ / "lock";
    lock_ = ::open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (lock_ < 0) {
        throw std::runtime_error(fmt::format("cannot open {}: {}", file.string(), std::strerror(errno)));
    }
    if (::flock(lock_, LOCK_EX | LOCK_NB) != 0) {
        ::close(lock_);
        throw std::runtime_error(fmt::format("{} is in use by another local project", folder_.string()));
    }
}

DataFolder::~DataFolder() {
    ::close(lock_);
}

} // namespace local_project
