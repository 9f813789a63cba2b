#include "platform/files/DirectoryWalk.h"
#include "platform/files/FileSystemIdentity.h"
#include "rules/FileRules.h"
#include "rules/WatchedRoot.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <span>
#include <utility>

namespace veskline {

namespace {

// What makes a visit pointless until the folder's parent tells of a change. ENOTDIR and ELOOP: something else took the
// folder's place.
bool isOutOfReach(int error) {
    return error == ENOENT || error == ENOTDIR || error == ELOOP || error == EACCES || error == EPERM;
}

bool readStatus(int folder, const char* name, struct statx& found) {
    constexpr int flags = AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT | AT_EMPTY_PATH;
    return ::statx(folder, name, flags, STATX_TYPE | STATX_INO | STATX_CTIME, &found) == 0;
}

} // namespace

WatchedRoot::Identity WatchedRoot::identityOf(const struct statx& found) noexcept {
    return {.device = std::uint64_t{found.stx_dev_major} << 32 | found.stx_dev_minor, .inode = found.stx_ino};
}

std::optional<WatchedRoot::Identity> WatchedRoot::findIdentity(const std::string& path) {
    struct statx found{};
    if (::statx(AT_FDCWD, path.c_str(), 0, STATX_TYPE | STATX_INO, &found) != 0 || !S_ISDIR(found.stx_mode)) {
        return std::nullopt;
    }
    return identityOf(found);
}

// As the walk of a scan chooses; an event of the folder itself has no name.
bool WatchedRoot::isWanted(std::string_view name) {
    return !name.empty() && !name.starts_with('.') && !FileRules::shouldSkip(std::string("/").append(name), "/");
}

void WatchedRoot::visitNext() {
    Visit visit = std::move(visits_.back());
    visits_.pop_back();
    const Level* parent = wayTo(visit.parent);
    if (parent == nullptr) {
        return; // it has moved or gone: where it still matters, an event leads to it
    }
    platform::OpenDescriptor folder = platform::OpenDescriptor::folder(parent->folder.number(), visit.name, O_NOFOLLOW);
    if (folder.isOpen()) {
        enter(std::move(folder), std::move(visit));
    } else if (!isOutOfReach(errno)) {
        visitLater(std::move(visit));
    }
}

// Watches first, then looks: what changes after the one is told by the kernel, and what changed before by the other.
void WatchedRoot::enter(platform::OpenDescriptor folder, Visit visit) {
    const Watch id = watch(folder.number(), visit);
    struct statx found{};
    if (!settle(id, visit)) {
        return;
    }
    const std::size_t visitsBefore = visits_.size();
    const bool isKnown = readStatus(folder.number(), "", found);
    if (isKnown && !mayEnter(folder.number(), visit, found)) {
        return forget(id);
    }
    if (isKnown && (visit.report == Report::everything || since_.mayPrecede(found.stx_ctime))) {
        surroundings_.report(tree_.path(id).value_or(path_));
    }
    if (!isKnown || !list(folder.number(), id, visit)) {
        forget(id);
        visitLater(std::move(visit));
    } else if (visits_.size() > visitsBefore) {
        keep(id, identityOf(found).device, std::move(folder));
    }
}

// Nothing is known of what happens in there until then.
void WatchedRoot::visitLater(Visit visit) {
    visit.report = Report::everything;
    retries_.push_back(std::move(visit));
}

// Where no watch is to be had, everything below goes without one too, and is compared from look to look.
WatchTree::Watch WatchedRoot::watch(int folder, const Visit& visit) {
    if (isStandIn(visit.parent)) {
        return --lastStandIn_;
    }
    if (instance_.isOpen()) {
        if (const Watch watch = calls_.watch(instance_.number(), folder); watch >= 0) {
            return watch;
        }
    }
    if (!std::exchange(isGapTold_, true)) {
        surroundings_.report(path_);
    }
    standIns_.emplace_back(--lastStandIn_, visit);
    return lastStandIn_;
}

// Gives the folder its place in the tree. False where that is known already, so that there is nothing to list.
bool WatchedRoot::settle(Watch watch, Visit& visit) {
    if (!tree_.contains(watch)) {
        tree_.add(watch, visit.parent, visit.name);
        return true;
    }
    if (tree_.isAt(watch, visit.parent, visit.name)) {
        return visit.isAgain;
    }
    if (tree_.isWithin(visit.parent, watch)) {
        // Bound below itself; or the tree is behind the disk in a way that no order of events explains.
        if (!openKnown(watch).isOpen()) {
            missChanges();
        }
        return false;
    }
    // Moved. Folders in it may have been looked for in vain under the old name.
    tree_.move(watch, visit.parent, visit.name);
    visit.isAgain = true;
    return true;
}

bool WatchedRoot::mayEnter(int folder, const Visit& visit, const struct statx& found) {
    const Identity identity = identityOf(found);
    if (visit.parent == WatchTree::none) {
        rootIdentity_ = identity;
    }
    if (std::ranges::find(ignored_, identity) != ignored_.end()) {
        return false;
    }
    if (way_.empty() || way_.back().device != identity.device) {
        const std::optional<platform::FileSystemIdentity> fileSystem = platform::fileSystemIdentity(folder);
        if (fileSystem && fileSystem->isKernelMade) {
            return false;
        }
        if (hasForeignClock(folder)) {
            foreignDevices_.push_back(identity.device);
        }
    }
    if (visit.report == Report::changes) {
        comparesTimes_ = true;
        meetsForeignTimes_ = meetsForeignTimes_ || std::ranges::count(foreignDevices_, identity.device) != 0;
    }
    return true;
}

// Takes the watch back. The folders in it may have their place elsewhere by now, or lose it too.
void WatchedRoot::forget(Watch watch) {
    if (!isStandIn(watch)) {
        calls_.unwatch(instance_.number(), watch);
    }
    for (const Watch child : tree_.remove(watch)) {
        orphans_.push_back(child);
    }
}

// --- The way down ---

void WatchedRoot::keep(Watch watch, std::uint64_t device, platform::OpenDescriptor folder) {
    if (way_.size() == platform::DirectoryWalk::mostOpenFolders) {
        way_.erase(way_.begin());
    }
    way_.push_back({.watch = watch, .device = device, .folder = std::move(folder)});
}

// The open folder of this watch, as the last one of the way; none where it is no longer in the tree or not found at the
// place that is known of it.
const WatchedRoot::Level* WatchedRoot::wayTo(Watch watch) {
    while (!way_.empty() && way_.back().watch != watch) {
        way_.pop_back();
    }
    if (!tree_.isAttached(watch)) {
        return nullptr;
    }
    if (way_.empty()) {
        platform::OpenDescriptor folder = openKnown(watch);
        struct statx found{};
        if (!folder.isOpen() || !readStatus(folder.number(), "", found)) {
            return nullptr;
        }
        keep(watch, identityOf(found).device, std::move(folder));
    }
    return &way_.back();
}

// Opens an attached folder at the place that is known of it. Empty where another one is there, or none.
platform::OpenDescriptor WatchedRoot::openKnown(Watch watch) const {
    platform::OpenDescriptor folder = platform::OpenDescriptor::folder(AT_FDCWD, path_, O_PATH);
    for (const std::string& name : tree_.namesBelowRoot(watch)) {
        if (!folder.isOpen()) {
            return folder;
        }
        folder = platform::OpenDescriptor::folder(folder.number(), name, O_PATH | O_NOFOLLOW);
    }
    if (!folder.isOpen() || isStandIn(watch)) {
        return folder;
    }
    const Watch found = calls_.watch(instance_.number(), folder.number());
    if (found >= 0 && !tree_.contains(found)) {
        calls_.unwatch(instance_.number(), found);
    }
    return found == watch ? std::move(folder) : platform::OpenDescriptor();
}

// --- The list of a folder ---

// False where it could not be read to its end.
bool WatchedRoot::list(int folder, Watch watch, const Visit& visit) {
    while (!surroundings_.isStopped->load(std::memory_order_relaxed)) {
        const ssize_t count = calls_.list(folder, buffer_);
        if (count == 0) {
            return true;
        }
        if (count > 0) {
            if (!takeEntries(folder, watch, visit, static_cast<std::size_t>(count))) {
                return false;
            }
        } else if (errno != EINTR) {
            return errno == ENOENT;
        }
    }
    return true;
}

bool WatchedRoot::takeEntries(int folder, Watch watch, const Visit& visit, std::size_t bytes) {
    constexpr std::size_t nameOffset = offsetof(struct dirent64, d_name);
    std::span<const std::byte> entries = std::span(buffer_).first(bytes);
    while (!entries.empty()) {
        const auto* entry = reinterpret_cast<const struct dirent64*>(entries.data());
        if (entries.size() <= nameOffset || entry->d_reclen <= nameOffset || entry->d_reclen > entries.size()) {
            return false;
        }
        const std::string_view name(entry->d_name, ::strnlen(entry->d_name, entry->d_reclen - nameOffset));
        if (name != "." && name != "..") {
            takeEntry(folder, watch, visit, entry->d_name, entry->d_type);
        }
        entries = entries.subspan(entry->d_reclen);
    }
    return true;
}

void WatchedRoot::takeEntry(int folder, Watch watch, const Visit& visit, const char* name, unsigned char type) {
    const bool reportsAll = visit.report == Report::everything;
    bool isReported = reportsAll;
    if (type == DT_UNKNOWN || (type != DT_DIR && !reportsAll)) {
        struct statx found{};
        if (!readStatus(folder, name, found)) {
            return; // gone, which the watch tells; or out of reach, for a scan as well
        }
        type = static_cast<unsigned char>(IFTODT(found.stx_mode));
        isReported = isReported || (type != DT_DIR && since_.mayPrecede(found.stx_ctime));
    }
    if (isReported) {
        surroundings_.report(tree_.path(watch, name).value_or(path_));
    }
    if (type == DT_DIR && isWanted(name)) {
        visits_.push_back({.parent = watch, .name = name, .report = visit.report, .isAgain = visit.isAgain});
    }
}

} // namespace veskline
