#include "platform/files/DirectoryWalk.h"

#include "platform/files/OpenDescriptor.h"
#include "platform/files/Paths.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <system_error>
#include <utility>

namespace platform::DirectoryWalk {

namespace {

constexpr std::size_t bufferBytes = 65536;

// A folder whose entries are listed and some of whose subfolders are still to be entered.
struct Folder {
    OpenDescriptor descriptor; // closed while the walk is far below
    dev_t device;
    ino_t inode;
    std::size_t pathLength;
    std::size_t firstName; // from here on the waiting names are its own, or those of folders below it
};

bool isGone(int error) {
    // ENOTDIR and ELOOP: something else took the folder's place.
    return error == ENOENT || error == ENOTDIR || error == ELOOP;
}

class Walk {
public:
    Walk(const std::string& root, const Visitor& visitor, const std::atomic<bool>* stop, const Calls& calls)
        : root_(withoutTrailingSlashes(root)), path_(root_ == "/" ? "" : root_), visitor_(visitor), stop_(stop),
          calls_(calls), buffer_(bufferBytes) {}

    Outcome run() {
        enterRoot();
        while (!waiting_.empty() && !isStopped()) {
            if (waiting_.size() > folders_.back().firstName) {
                enterNext();
            } else {
                leave();
            }
        }
        if (isStopped()) {
            outcome_.failures.push_back({.path = root_, .reason = "the listing was broken off"});
        }
        return std::move(outcome_);
    }

private:
    [[nodiscard]] bool isStopped() const { return stop_ != nullptr && stop_->load(std::memory_order_relaxed); }

    [[nodiscard]] const std::string& folderPath() const { return path_.empty() ? root_ : path_; }

    // The folder that path_ names is not fully known. Once a folder: many entries may fail in one.
    void fail(std::string reason) {
        if (outcome_.failures.empty() || outcome_.failures.back().path != folderPath()) {
            outcome_.failures.push_back({.path = folderPath(), .reason = std::move(reason)});
        }
    }
    void fail(int error) { fail(std::generic_category().message(error)); }

    void enterRoot() {
        OpenDescriptor root = OpenDescriptor::folder(AT_FDCWD, root_.c_str());
        if (root.isOpen()) {
            enter(std::move(root));
        } else {
            fail(errno);
        }
    }

    void enterNext() {
        const Folder& parent = folders_.back();
        waiting_.pop_back(); // the zero byte of the last name
        const std::size_t start = std::max(waiting_.rfind('\0') + 1, parent.firstName);
        const std::size_t length = path_.size();
        path_.append("/").append(waiting_, start);
        waiting_.resize(start);
        const char* const name = path_.c_str() + length + 1;
        OpenDescriptor folder = OpenDescriptor::folder(parent.descriptor.number(), name, O_NOFOLLOW);
        if (folder.isOpen()) {
            enter(std::move(folder));
        } else if (const int error = errno; !isGone(error)) {
            fail(error);
        }
        path_.resize(folders_.back().pathLength);
    }

    // Lists the folder that path_ names; it stays on the way if there is more to see below it.
    void enter(OpenDescriptor descriptor) {
        struct stat found{};
        if (calls_.stat(descriptor.number(), "", found) != 0) {
            return fail(errno);
        }
        if (!mayEnter(descriptor, found)) {
            return;
        }
        const std::size_t firstName = waiting_.size();
        list(descriptor.number());
        if (waiting_.size() > firstName) {
            closeFarthest();
            folders_.push_back({.descriptor = std::move(descriptor),
                                .device = found.st_dev,
                                .inode = found.st_ino,
                                .pathLength = path_.size(),
                                .firstName = firstName});
        }
    }

    bool mayEnter(const OpenDescriptor& descriptor, const struct stat& found) {
        const auto isSame = [&](const Folder& folder) {
            return folder.inode == found.st_ino && folder.device == found.st_dev;
        };
        if (std::ranges::any_of(folders_, isSame)) {
            return false; // bound below itself
        }
        if (!folders_.empty() && folders_.back().device == found.st_dev) {
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
    void closeFarthest() {
        if (folders_.size() - firstOpen_ == mostOpenFolders) {
            folders_[firstOpen_++].descriptor = OpenDescriptor();
        }
    }

    // Goes back to the parent. One that was closed meanwhile is opened from below and must be the folder it was.
    void leave() {
        const Folder child = std::move(folders_.back());
        folders_.pop_back();
        Folder& parent = folders_.back();
        path_.resize(parent.pathLength);
        if (firstOpen_ < folders_.size()) {
            return;
        }
        const int error = reopen(parent, child.descriptor);
        firstOpen_ = folders_.size() - 1;
        if (error != 0 && waiting_.size() > parent.firstName) {
            fail(error);
            waiting_.resize(parent.firstName);
        }
    }

    int reopen(Folder& parent, const OpenDescriptor& child) {
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

    void list(int folder) {
        while (!isStopped()) {
            const ssize_t count = calls_.read(folder, buffer_);
            if (count == 0) {
                return;
            }
            if (count > 0) {
                take(folder, std::span(buffer_).first(static_cast<std::size_t>(count)));
            } else if (const int error = errno; error != EINTR) {
                return error == ENOENT ? void() : fail(error);
            }
        }
    }

    void take(int folder, std::span<const std::byte> entries) {
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

    void take(int folder, std::string_view name, unsigned char type) {
        if (name == "." || name == ".." || !visitor_.wants(name)) {
            return;
        }
        if (type == DT_UNKNOWN) {
            type = typeOf(folder, name);
        }
        if (type == DT_DIR) {
            waiting_.append(name).push_back('\0');
        } else if (type == DT_REG) {
            const std::size_t length = path_.size();
            path_.append("/").append(name);
            visitor_.file(path_, name);
            path_.resize(length);
        }
    }

    // Not every file system tells the type with the name.
    unsigned char typeOf(int folder, std::string_view name) {
        struct stat found{};
        if (calls_.stat(folder, name.data(), found) == 0) {
            return static_cast<unsigned char>(IFTODT(found.st_mode));
        }
        if (const int error = errno; error != ENOENT) {
            fail(error);
        }
        return DT_UNKNOWN;
    }

    const std::string root_;
    std::string path_; // of the folder that is looked at; empty for "/"
    const Visitor& visitor_;
    const std::atomic<bool>* stop_;
    const Calls& calls_;
    std::vector<std::byte> buffer_;
    std::vector<Folder> folders_; // the way from the root to the folder that is looked at
    std::size_t firstOpen_ = 0;   // folders_ from here on are open
    std::string waiting_;         // names of folders to enter, each with a zero byte, those of the deepest folder last
    Outcome outcome_;
};

} // namespace

Calls Calls::kernel() {
    return {
        .read = [](int folder,
                   std::span<std::byte> buffer) { return ::getdents64(folder, buffer.data(), buffer.size()); },
        .stat =
            [](int folder, const char* name, struct stat& found) {
                return *name == '\0' ? ::fstat(folder, &found) : ::fstatat(folder, name, &found, AT_SYMLINK_NOFOLLOW);
            },
        .identify = [](int folder) { return fileSystemIdentity(folder); },
    };
}

Outcome run(const std::string& root, const Visitor& visitor, const std::atomic<bool>* stop, const Calls& calls) {
    return Walk(root, visitor, stop, calls).run();
}

} // namespace platform::DirectoryWalk
