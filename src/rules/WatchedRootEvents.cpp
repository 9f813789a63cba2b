#include "rules/WatchedRoot.h"

#include <cerrno>
#include <span>
#include <sys/inotify.h>

namespace veskline {

bool WatchedRoot::readEvents() {
    if (!instance_.isOpen()) {
        return false;
    }
    const ssize_t count = calls_.read(instance_.number(), buffer_);
    if (count < 0 && (errno == EAGAIN || errno == EINTR)) {
        return false;
    }
    if (count <= 0) {
        instance_ = platform::OpenDescriptor();
        missChanges();
        return false;
    }
    const WatchEvents found = decodeWatchEvents(std::span(buffer_).first(static_cast<std::size_t>(count)));
    for (const WatchEvent& event : found.events) {
        take(event);
    }
    if (!found.isWhole) {
        missChanges();
    }
    return true;
}

void WatchedRoot::take(const WatchEvent& event) {
    constexpr std::uint32_t appearances = IN_CREATE | IN_MOVED_TO | IN_ATTRIB; // the last: it may be readable by now
    if ((event.mask & IN_Q_OVERFLOW) != 0) {
        return missChanges();
    }
    if ((event.mask & (IN_IGNORED | IN_UNMOUNT)) != 0) {
        return takeEnd(event);
    }
    std::optional<std::string> path = tree_.path(event.watch, event.name);
    if ((event.mask & IN_MOVE_SELF) != 0) {
        takeMove(event.watch);
    }
    if (!path) {
        return; // of a watch that has gone, or of a folder that has left the tree
    }
    surroundings_.report(std::move(*path));
    if ((event.mask & IN_ISDIR) != 0 && (event.mask & appearances) != 0 && isWanted(event.name)) {
        addVisit({.parent = event.watch, .name = std::string(event.name), .report = Report::everything});
    }
}

// Of a folder that was moved, perhaps together with one that has left the tree; or of one that was found in its new
// place before this event was read.
void WatchedRoot::takeMove(Watch watch) {
    if (!tree_.contains(watch) || (tree_.isAttached(watch) && openKnown(watch).isOpen())) {
        return;
    }
    if (watch == tree_.root()) {
        return missChanges();
    }
    // Where it went within the tree, an event of its new parent leads to it and puts it back.
    tree_.detach(watch);
    orphans_.push_back(watch);
}

// The kernel has taken a watch away: its folder was deleted, or lay on a file system that was unmounted.
void WatchedRoot::takeEnd(const WatchEvent& event) {
    if ((event.mask & IN_UNMOUNT) != 0 || (tree_.contains(event.watch) && event.watch == tree_.root())) {
        return missChanges(); // the folder below the mount comes to light
    }
    for (const Watch child : tree_.remove(event.watch)) {
        orphans_.push_back(child);
    }
}

} // namespace veskline
