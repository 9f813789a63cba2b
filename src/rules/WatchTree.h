#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace veskline {

// Which folder each watch stands for: the folders below one root with their names, so that a watch gives a path and a
// folder that is moved takes all below it along. About 75 bytes a folder, names of up to 15 bytes included. Asks no
// disk; not synchronised.
//
// A folder can be detached: it is known, but no longer below the root, and neither is what lies in it.
class WatchTree {
public:
    using Watch = int;
    static constexpr Watch none = -1;

    // `rootPath` is the text that every path begins with.
    explicit WatchTree(std::string rootPath) : rootPath_(std::move(rootPath)) {}

    [[nodiscard]] std::size_t size() const noexcept { return count_; }
    [[nodiscard]] bool contains(Watch watch) const noexcept { return find(watch) != nowhere; }

    // A watch that is not contained; its parent is, or is `none` for the root itself, of which there is one.
    void add(Watch watch, Watch parent, std::string_view name);
    [[nodiscard]] Watch root() const noexcept { return root_; }

    [[nodiscard]] bool isAttached(Watch watch) const noexcept;
    [[nodiscard]] bool isAt(Watch watch, Watch parent, std::string_view name) const noexcept;
    // Whether `watch` is `folder` or lies below it.
    [[nodiscard]] bool isWithin(Watch watch, Watch folder) const noexcept;

    // Puts a folder with all below it elsewhere. `parent` does not lie within it.
    void move(Watch watch, Watch parent, std::string_view name);
    void detach(Watch watch) noexcept;
    // Forgets one folder. The folders that lay in it become detached, and are the result.
    std::vector<Watch> remove(Watch watch);

    // Of the folder, or of an entry in it; none where it is unknown or detached.
    [[nodiscard]] std::optional<std::string> path(Watch watch, std::string_view entry = {}) const;
    // The way down from the root, which itself is not named, to an attached folder.
    [[nodiscard]] std::vector<std::string> namesBelowRoot(Watch watch) const;

private:
    using Place = std::uint32_t; // in folders_
    static constexpr Place nowhere = UINT32_MAX;
    struct Folder {
        Watch watch = none;
        Place parent = nowhere;
        Place firstChild = nowhere;
        Place next = nowhere; // among the children of one parent
        Place previous = nowhere;
        std::string name;
    };

    [[nodiscard]] Place find(Watch watch) const noexcept;
    [[nodiscard]] std::size_t firstSlot(Watch watch) const noexcept;
    [[nodiscard]] std::size_t slotOf(Watch watch) const noexcept;
    void index(Place place);
    void unindex(Watch watch) noexcept;
    void link(Place place, Place parent) noexcept;
    void unlink(Place place) noexcept;
    [[nodiscard]] std::vector<Place> wayFromRoot(Place place) const;

    std::string rootPath_;
    Watch root_ = none;
    std::deque<Folder> folders_;
    std::vector<Place> unused_; // places of folders_ that hold none
    std::size_t count_ = 0;
    std::vector<Place> slots_; // a hash table of watches with linear probing; its size is a power of two
};

} // namespace veskline
