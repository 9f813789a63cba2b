#include "platform/files/WholeFile.h"

#include "platform/files/FileError.h"
#include "platform/files/FileOwnership.h"
#include "platform/files/OpenDescriptor.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace platform {

namespace {

// The file that the new content goes to first; gone again unless it was moved into place.
// After a failure errno tells the reason until the next call.
class TemporaryFile {
public:
    explicit TemporaryFile(std::string path)
        : path_(std::move(path)), descriptor_(OpenDescriptor::newFile(path_.c_str())), isOurs_(descriptor_.isOpen()) {}
    ~TemporaryFile() {
        if (isOurs_) {
            ::unlink(path_.c_str());
        }
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    [[nodiscard]] bool exists() const noexcept { return isOurs_; }

    [[nodiscard]] bool write(std::string_view content) const {
        while (!content.empty()) {
            const ssize_t written = ::write(descriptor_.number(), content.data(), content.size());
            if (written < 0 && errno != EINTR) {
                return false;
            }
            content.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(written, 0)));
        }
        return true;
    }

    [[nodiscard]] bool moveTo(const std::string& path) {
        if (::fsync(descriptor_.number()) != 0 || !descriptor_.close() || ::rename(path_.c_str(), path.c_str()) != 0) {
            return false;
        }
        isOurs_ = false;
        return true;
    }

private:
    std::string path_;
    OpenDescriptor descriptor_;
    bool isOurs_;
};

std::string folderOf(const std::string& path) {
    const std::size_t slash = path.find_last_of('/');
    return slash == std::string::npos ? "./" : path.substr(0, slash + 1);
}

// Makes a rename or a removal survive a loss of power. It has happened for everybody already, so there is nothing to
// take back where the file system cannot do this.
void syncFolderOf(const std::string& path) {
    const OpenDescriptor folder = OpenDescriptor::folder(AT_FDCWD, folderOf(path));
    if (folder.isOpen()) {
        (void)::fsync(folder.number());
    }
}

constexpr std::size_t blockSize = std::size_t{64} << 10U;

// Reads behind what `content` holds, into room that is not filled first. As read(2) gives it.
ssize_t readMore(int file, std::size_t room, std::string& content) {
    const std::size_t filled = content.size();
    ssize_t count = -1;
    content.resize_and_overwrite(filled + room, [&](char* bytes, std::size_t) {
        count = ::read(file, bytes + filled, room);
        return filled + static_cast<std::size_t>(std::max<ssize_t>(count, 0));
    });
    return count;
}

// Appends what `file` holds, `expected` bytes if it stays as it is. False with errno after a failure; stops soon after
// `most`.
bool readAll(int file, std::size_t expected, std::size_t most, std::string& content) {
    std::size_t room = expected + 1; // one byte stays free, and shows that there is no more
    while (content.size() <= most) {
        const ssize_t count = readMore(file, room, content);
        if (count == 0) {
            return true;
        }
        if (count < 0 && errno != EINTR) {
            return false;
        }
        room -= static_cast<std::size_t>(std::max<ssize_t>(count, 0));
        room = room == 0 ? blockSize : room;
    }
    return true;
}

} // namespace

WholeFile::WholeFile(std::string path, Owner owner) : path_(std::move(path)), owner_(owner) {}

std::string WholeFile::read(std::size_t most) const {
    const int noLink = owner_ == Owner::thisUser ? O_NOFOLLOW : 0;
    const OpenDescriptor file = OpenDescriptor::file(path_.c_str(), noLink);
    struct stat attributes{};
    if (!file.isOpen() || ::fstat(file.number(), &attributes) != 0) {
        throw FileError(path_, "opened", errno);
    }
    if (owner_ == Owner::thisUser && !isOwnRegularFile(attributes)) {
        throw FileError(path_, "read", EPERM);
    }
    if (!S_ISREG(attributes.st_mode)) {
        throw FileError(path_, "read", S_ISDIR(attributes.st_mode) ? EISDIR : EINVAL);
    }
    std::string content;
    if (!readAll(file.number(), std::min(static_cast<std::size_t>(attributes.st_size), most), most, content)) {
        throw FileError(path_, "read", errno);
    }
    if (content.size() > most) {
        throw FileError(path_, "read", EFBIG);
    }
    return content;
}

void WholeFile::replace(std::string_view content) const {
    if (owner_ == Owner::thisUser) {
        refuseForeignFile(path_);
    }
    removeLeftover();
    TemporaryFile temporary(temporaryPath());
    if (!temporary.exists() || !temporary.write(content) || !temporary.moveTo(path_)) {
        throw FileError(path_, "written", errno);
    }
    syncFolderOf(path_);
}

void WholeFile::remove() const {
    removeLeftover();
    if (::unlink(path_.c_str()) != 0) {
        throw FileError(path_, "removed", errno);
    }
    syncFolderOf(path_);
}

void WholeFile::removeLeftover() const noexcept {
    ::unlink(temporaryPath().c_str());
}

std::string WholeFile::temporaryPath() const {
    const std::string folder = folderOf(path_);
    const std::size_t nameStart = path_.find_last_of('/') + 1; // npos + 1 is the start of a bare name
    return fmt::format("{}.{}.tmp", folder, std::string_view(path_).substr(nameStart));
}

} // namespace platform
