#include "platform/files/FolderWalker.h"

#include "platform/files/Paths.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <utility>

namespace platform::DirectoryWalk {

namespace {

constexpr std::size_t bufferBytes = 65536;

bool isGone(int error) {
    // ENOTDIR and ELOOP: something else took the folder's place.
    return error == ENOENT || error == ENOTDIR || error == ELOOP;
}

} // namespace

std::optional<Rest> Rest::split() {
    const auto namesEnd = [&](std::size_t at) {
        return at + 1 < folders.size() ? folders[at + 1].firstName : waiting.size();
    };
    std::size_t at = firstOpen;
    while (at < folders.size() && folders[at].firstName == namesEnd(at)) {
        ++at;
    }
    if (at == folders.size()) {
        return std::nullopt;
    }
    const std::size_t first = folders[at].firstName;
    const std::size_t count = waiting.find('\0', first + (namesEnd(at) - first) / 2) + 1 - first;
    if (count == waiting.size()) {
        return std::nullopt;
    }
    OpenDescriptor descriptor = folders[at].descriptor.duplicate();
    if (!descriptor.isOpen()) {
        return std::nullopt;
    }
    Rest other = wayTo(at);
    other.folders.back().descriptor = std::move(descriptor);
    other.waiting = waiting.substr(first, count);
    waiting.erase(first, count);
    for (std::size_t below = at + 1; below < folders.size(); ++below) {
        folders[below].firstName -= count;
    }
    return other;
}

Rest Rest::wayTo(std::size_t at) const {
    Rest way{.path = path.substr(0, folders[at].pathLength), .firstOpen = at};
    for (std::size_t above = 0; above <= at; ++above) {
        const Folder& folder = folders[above];
        way.folders.push_back({.device = folder.device, .inode = folder.inode, .pathLength = folder.pathLength});
    }
    return way;
}

FolderWalker::FolderWalker(const std::string& root, const Visitor& visitor, const std::atomic<bool>* stop,
                           const Calls& calls)
    : root_(withoutTrailingSlashes(root)), visitor_(visitor), stop_(stop), calls_(calls) {}

Rest FolderWalker::enterRoot() {
    rest_ = Rest();
    rest_.path = root_ == "/" ? "" : root_;
    OpenDescriptor root = OpenDescriptor::folder(AT_FDCWD, root_);
    if (root.isOpen()) {
        enter(std::move(root));
    } else {
        fail(errno);
    }
    return std::move(rest_);
}

void FolderWalker::walk(Rest rest, const std::function<void(Rest&)>& betweenFolders) {
    rest_ = std::move(rest);
    while (!rest_.waiting.empty() && !isStopped()) {
        if (rest_.waiting.size() > rest_.folders.back().firstName) {
            enterNext();
        } else {
            leave();
        }
        betweenFolders(rest_);
    }
    rest_ = Rest();
}

// The folder whose path is at hand is not fully known. Once a folder: many entries may fail in one.
void FolderWalker::fail(std::string reason) {
    if (outcome_.failures.empty() || outcome_.failures.back().path != folderPath()) {
        outcome_.failures.push_back({.path = folderPath(), .reason = std::move(reason)});
    }
}

void FolderWalker::fail(int error) {
    fail(std::generic_category().message(error));
}

void FolderWalker::enterNext() {
    const Rest::Folder& parent = rest_.folders.back();
    rest_.waiting.pop_back(); // the zero byte of the last name
    const std::size_t start = std::max(rest_.waiting.rfind('\0') + 1, parent.firstName);
    const std::size_t length = rest_.path.size();
    rest_.path.append("/").append(rest_.waiting, start);
    rest_.waiting.resize(start);
    const char* const name = rest_.path.c_str() + length + 1;
    OpenDescriptor folder = OpenDescriptor::folder(parent.descriptor.number(), name, O_NOFOLLOW);
    if (folder.isOpen()) {
        enter(std::move(folder));
    } else if (const int error = errno; !isGone(error)) {
        fail(error);
    }
    rest_.path.resize(rest_.folders.back().pathLength);
}

// Lists the folder that rest_.path names; it stays on the way if there is more to see below it.
void FolderWalker::enter(OpenDescriptor descriptor) {
    struct stat found{};
    if (calls_.stat(descriptor.number(), "", found) != 0) {
        return fail(errno);
    }
    if (!mayEnter(descriptor, found)) {
        return;
    }
    const std::size_t firstName = rest_.waiting.size();
    list(descriptor.number());
    if (rest_.waiting.size() > firstName) {
        closeFarthest();
        rest_.folders.push_back({.descriptor = std::move(descriptor),
                                 .device = found.st_dev,
                                 .inode = found.st_ino,
                                 .pathLength = rest_.path.size(),
                                 .firstName = firstName});
    }
}

bool FolderWalker::mayEnter(const OpenDescriptor& descriptor, const struct stat& found) {
    const auto isSame = [&](const Rest::Folder& folder) {
        return folder.inode == found.st_ino && folder.device == found.st_dev;
    };
    if (std::ranges::any_of(rest_.folders, isSame)) {
        return false; // bound below itself
    }
    if (!rest_.folders.empty() && rest_.folders.back().device == found.st_dev) {
        return true;
    }
    const std::optional<FileSystemIdentity> identity = calls_.identify(descriptor.number());
    if (!identity) {
        fail(errno);
    } else if (identity->isKernelMade) {
        fail("its file system is made by the kernel");
    } else {
        outcome_.fileSystems.push_back({.path = folderPath(), .identity = identity->text});
    }
    return identity && !identity->isKernelMade;
}

// Keeps the number of descriptors down: of the folders on the way, the deepest ones are open.
void FolderWalker::closeFarthest() {
    if (rest_.folders.size() - rest_.firstOpen == mostOpenFolders) {
        rest_.folders[rest_.firstOpen++].descriptor = OpenDescriptor();
    }
}

// Goes back to the parent. One that was closed meanwhile is opened from below and must be the folder it was.
void FolderWalker::leave() {
    const Rest::Folder child = std::move(rest_.folders.back());
    rest_.folders.pop_back();
    Rest::Folder& parent = rest_.folders.back();
    rest_.path.resize(parent.pathLength);
    if (rest_.firstOpen < rest_.folders.size()) {
        return;
    }
    const int error = reopen(parent, child.descriptor);
    rest_.firstOpen = rest_.folders.size() - 1;
    if (error != 0 && rest_.waiting.size() > parent.firstName) {
        fail(error);
        rest_.waiting.resize(parent.firstName);
    }
}

int FolderWalker::reopen(Rest::Folder& parent, const OpenDescriptor& child) {
    struct stat found{};
    OpenDescriptor folder = OpenDescriptor::folder(child.number(), "..", O_NOFOLLOW);
    if (!folder.isOpen() || calls_.stat(folder.number(), "", found) != 0) {
        return errno;
    }
    if (found.st_dev != parent.device || found.st_ino != parent.inode) {
        return ESTALE;
    }
    parent.descriptor = std::move(folder);
    return 0;
}

void FolderWalker::list(int folder) {
    alignas(struct dirent64) std::array<std::byte, bufferBytes> buffer;
    while (!isStopped()) {
        const ssize_t count = calls_.read(folder, buffer);
        if (count == 0) {
            return;
        }
        if (count > 0) {
            take(folder, std::span(buffer).first(static_cast<std::size_t>(count)));
        } else if (const int error = errno; error != EINTR) {
            return error == ENOENT ? void() : fail(error);
        }
    }
}

void FolderWalker::take(int folder, std::span<const std::byte> entries) {
    constexpr std::size_t nameOffset = offsetof(struct dirent64, d_name);
    while (entries.size() > nameOffset) {
        const auto* entry = reinterpret_cast<const struct dirent64*>(entries.data());
        if (entry->d_reclen <= nameOffset || entry->d_reclen > entries.size()) {
            return fail(EIO);
        }
        const char* const name = entry->d_name;
        take(folder, std::string_view(name, ::strnlen(name, entry->d_reclen - nameOffset)), entry->d_type);
        entries = entries.subspan(entry->d_reclen);
    }
}

void FolderWalker::take(int folder, std::string_view name, unsigned char type) {
    if (name == "." || name == ".." || !visitor_.wants(name)) {
        return;
    }
    if (type == DT_UNKNOWN) {
        type = typeOf(folder, name);
    }
    if (type == DT_DIR) {
        rest_.waiting.append(name).push_back('\0');
    } else if (type == DT_REG) {
        const std::size_t length = rest_.path.size();
        rest_.path.append("/").append(name);
        visitor_.file(rest_.path, name);
        rest_.path.resize(length);
    }
}

// Not every file system tells the type with the name.
unsigned char FolderWalker::typeOf(int folder, std::string_view name) {
    struct stat found{};
    if (calls_.stat(folder, name.data(), found) == 0) {
        return static_cast<unsigned char>(IFTODT(found.st_mode));
    }
    if (const int error = errno; error != ENOENT) {
        fail(error);
    }
    return DT_UNKNOWN;
}

} // namespace platform::DirectoryWalk
