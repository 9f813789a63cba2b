#pragma once

#include "platform/async/Executor.h"
#include "platform/files/GrowingPages.h"

#include <compare>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <optional>
#include <string_view>

namespace platform {

// Many paths in little memory: their text in one piece, and five bytes a path on top. Made for a million and more; all
// memory goes back to the system with the list.
//
// Views that it gives out hold until the next `add` or the list's end. A path holds no zero byte. Moves, does not copy.
// Not synchronised.
class PathList {
public:
    // Throws std::length_error when the text of all paths passes 4 GiB, std::bad_alloc when there is no memory.
    void add(std::string_view path);

    // Adds all paths of `other` at the end. Throws as add() does.
    void append(const PathList& other);

    // Orders the paths bytewise, as whole strings: "/a/b.txt" stands before "/a/b/c", since "." comes before "/".
    // A thread of `helper` sorts half of them, where it has one to spare.
    void sort(async::Executor helper = {});

    // The place of the first path that is not before `path`, which is size() if there is none. The list is sorted.
    [[nodiscard]] std::size_t lowerBound(std::string_view path) const;
    // The place of `path`, or none. The list is sorted. `expected` is looked at first: whoever asks for many paths that
    // mostly come in order saves the search by giving the place after the last one found.
    [[nodiscard]] std::optional<std::size_t> find(std::string_view path, std::size_t expected = 0) const;

    [[nodiscard]] std::size_t size() const noexcept { return starts_.size(); }
    [[nodiscard]] bool empty() const noexcept { return size() == 0; }
    [[nodiscard]] std::string_view operator[](std::size_t index) const noexcept { return cString(index); }
    // The same for the system, which need not be told the length.
    [[nodiscard]] const char* cString(std::size_t index) const noexcept { return &text_[starts_[index]]; }

    class Iterator {
    public:
        using value_type = std::string_view;
        using difference_type = std::ptrdiff_t;
        Iterator() noexcept = default;
        Iterator(const PathList* list, std::size_t index) noexcept : list_(list), index_(index) {}
        std::string_view operator*() const noexcept { return (*list_)[index_]; }
        Iterator& operator++() noexcept {
            ++index_;
            return *this;
        }
        Iterator operator++(int) noexcept { return {list_, index_++}; }
        bool operator==(const Iterator&) const noexcept = default;

    private:
        const PathList* list_ = nullptr;
        std::size_t index_ = 0;
    };
    [[nodiscard]] Iterator begin() const noexcept { return {this, 0}; }
    [[nodiscard]] Iterator end() const noexcept { return {this, size()}; }

private:
    void checkRoomFor(std::size_t bytes) const;
    [[nodiscard]] bool isAt(std::size_t index, std::string_view path) const noexcept;

    GrowingPages<char> text_;            // each path and a zero byte
    GrowingPages<std::uint32_t> starts_; // where each path begins, in the order of the list
};

static_assert(std::forward_iterator<PathList::Iterator>);

} // namespace platform
