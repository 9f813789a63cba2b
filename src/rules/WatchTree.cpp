#include "rules/WatchTree.h"

#include <algorithm>
#include <cassert>
#include <utility>

namespace veskline {

void WatchTree::add(Watch watch, Watch parent, std::string_view name) {
    assert(!contains(watch) && (parent == none || contains(parent)));
    Place place = 0;
    if (unused_.empty()) {
        place = static_cast<Place>(folders_.size());
        folders_.emplace_back();
    } else {
        place = unused_.back();
        unused_.pop_back();
    }
    folders_[place].watch = watch;
    folders_[place].name = name;
    index(place);
    if (parent == none) {
        root_ = watch;
    } else {
        link(place, find(parent));
    }
}

bool WatchTree::isAttached(Watch watch) const noexcept {
    return root_ != none && isWithin(watch, root_);
}

bool WatchTree::isAt(Watch watch, Watch parent, std::string_view name) const noexcept {
    const Place place = find(watch);
    if (place == nowhere) {
        return false;
    }
    const Folder& folder = folders_[place];
    const Watch recorded = folder.parent == nowhere ? none : folders_[folder.parent].watch;
    return recorded == parent && folder.name == name;
}

bool WatchTree::isWithin(Watch watch, Watch folder) const noexcept {
    for (Place place = find(watch); place != nowhere; place = folders_[place].parent) {
        if (folders_[place].watch == folder) {
            return true;
        }
    }
    return false;
}

void WatchTree::move(Watch watch, Watch parent, std::string_view name) {
    assert(!isWithin(parent, watch));
    const Place place = find(watch);
    unlink(place);
    folders_[place].name = name;
    link(place, find(parent));
}

void WatchTree::detach(Watch watch) noexcept {
    if (const Place place = find(watch); place != nowhere) {
        unlink(place);
        root_ = watch == root_ ? none : root_;
    }
}

std::vector<WatchTree::Watch> WatchTree::remove(Watch watch) {
    std::vector<Watch> children;
    const Place place = find(watch);
    if (place == nowhere) {
        return children;
    }
    while (folders_[place].firstChild != nowhere) {
        const Place child = folders_[place].firstChild;
        children.push_back(folders_[child].watch);
        unlink(child);
    }
    detach(watch);
    unindex(watch);
    folders_[place] = Folder();
    unused_.push_back(place);
    return children;
}

std::optional<std::string> WatchTree::path(Watch watch, std::string_view entry) const {
    if (!isAttached(watch)) {
        return std::nullopt;
    }
    std::string path = rootPath_ == "/" ? "" : rootPath_;
    for (const Place place : wayFromRoot(find(watch))) {
        path.append("/").append(folders_[place].name);
    }
    if (!entry.empty()) {
        path.append("/").append(entry);
    }
    return path.empty() ? "/" : path;
}

std::vector<std::string> WatchTree::namesBelowRoot(Watch watch) const {
    std::vector<std::string> names;
    for (const Place place : wayFromRoot(find(watch))) {
        names.push_back(folders_[place].name);
    }
    return names;
}

// Without the topmost folder.
std::vector<WatchTree::Place> WatchTree::wayFromRoot(Place place) const {
    std::vector<Place> way;
    for (; folders_[place].parent != nowhere; place = folders_[place].parent) {
        way.push_back(place);
    }
    std::ranges::reverse(way);
    return way;
}

void WatchTree::link(Place place, Place parent) noexcept {
    Folder& folder = folders_[place];
    folder.parent = parent;
    folder.next = std::exchange(folders_[parent].firstChild, place);
    if (folder.next != nowhere) {
        folders_[folder.next].previous = place;
    }
}

void WatchTree::unlink(Place place) noexcept {
    Folder& folder = folders_[place];
    if (folder.previous != nowhere) {
        folders_[folder.previous].next = folder.next;
    } else if (folder.parent != nowhere) {
        folders_[folder.parent].firstChild = folder.next;
    }
    if (folder.next != nowhere) {
        folders_[folder.next].previous = folder.previous;
    }
    folder.parent = folder.next = folder.previous = nowhere;
}

// The kernel numbers watches one after the other, so any spread of neighbouring numbers will do.
std::size_t WatchTree::firstSlot(Watch watch) const noexcept {
    constexpr std::uint32_t spread = 0x9E3779B9;
    const std::uint32_t hash = static_cast<std::uint32_t>(watch) * spread;
    return (hash ^ (hash >> 16)) & (slots_.size() - 1);
}

// Where the watch stands, or the free slot where it would.
std::size_t WatchTree::slotOf(Watch watch) const noexcept {
    std::size_t slot = firstSlot(watch);
    while (slots_[slot] != nowhere && folders_[slots_[slot]].watch != watch) {
        slot = (slot + 1) & (slots_.size() - 1);
    }
    return slot;
}

WatchTree::Place WatchTree::find(Watch watch) const noexcept {
    return slots_.empty() ? nowhere : slots_[slotOf(watch)];
}

void WatchTree::index(Place place) {
    constexpr std::size_t fewestSlots = 16;
    if ((count_ + 1) * 4 > slots_.size() * 3) {
        std::vector<Place> old(std::max(fewestSlots, slots_.size() * 2), nowhere);
        std::swap(old, slots_);
        for (const Place each : old) {
            if (each != nowhere) {
                slots_[slotOf(folders_[each].watch)] = each;
            }
        }
    }
    slots_[slotOf(folders_[place].watch)] = place;
    ++count_;
}

void WatchTree::unindex(Watch watch) noexcept {
    std::size_t gap = slotOf(watch);
    const std::size_t last = slots_.size() - 1;
    // Those behind it that were pushed on by a full slot move up, so that no search ends at the gap too early.
    for (std::size_t slot = (gap + 1) & last; slots_[slot] != nowhere; slot = (slot + 1) & last) {
        const std::size_t first = firstSlot(folders_[slots_[slot]].watch);
        if (((slot - first) & last) >= ((slot - gap) & last)) {
            slots_[gap] = slots_[slot];
            gap = slot;
        }
    }
    slots_[gap] = nowhere;
    --count_;
}

} // namespace veskline
