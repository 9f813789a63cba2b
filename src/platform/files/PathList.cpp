#include "platform/files/PathList.h"

#include "platform/async/SharedWork.h"

#include <algorithm>
#include <limits>
#include <stdexcept>

namespace platform {

void PathList::add(std::string_view path) {
    const std::size_t start = text_.size();
    checkRoomFor(path.size() + 1);
    text_.append(path);
    text_.append('\0');
    starts_.append(static_cast<std::uint32_t>(start));
}

void PathList::append(const PathList& other) {
    const std::size_t start = text_.size();
    checkRoomFor(other.text_.size());
    text_.append(other.text_.values());
    for (const std::uint32_t theirs : other.starts_.values()) {
        starts_.append(static_cast<std::uint32_t>(start + theirs));
    }
}

void PathList::checkRoomFor(std::size_t bytes) const {
    if (text_.size() + bytes > std::numeric_limits<std::uint32_t>::max()) {
        throw std::length_error("There are too many files: their paths take more than 4 GiB");
    }
}

void PathList::sort(async::Executor helper) {
    const char* const text = text_.values().data();
    const auto isBefore = [text](std::uint32_t left, std::uint32_t right) {
        return std::strcmp(text + left, text + right) < 0; // compares as unsigned bytes
    };
    const auto starts = starts_.values();
    const auto middle = starts.begin() + static_cast<std::ptrdiff_t>(size() / 2);
    async::shareOut(helper, 2, [&](std::size_t half) {
        std::sort(half == 0 ? starts.begin() : middle, half == 0 ? middle : starts.end(), isBefore);
    });
    std::inplace_merge(starts.begin(), middle, starts.end(), isBefore);
}

std::size_t PathList::lowerBound(std::string_view path) const {
    const auto starts = starts_.values();
    const auto place = std::ranges::partition_point(
        starts, [&](std::uint32_t start) { return std::string_view(&text_[start]) < path; });
    return static_cast<std::size_t>(place - starts.begin());
}

std::optional<std::size_t> PathList::find(std::string_view path, std::size_t expected) const {
    if (expected < size() && isAt(expected, path)) {
        return expected;
    }
    const std::size_t place = lowerBound(path);
    return place < size() && isAt(place, path) ? std::optional(place) : std::nullopt;
}

// Without measuring the path that stands there.
bool PathList::isAt(std::size_t index, std::string_view path) const noexcept {
    const std::size_t start = starts_[index];
    return start + path.size() < text_.size() && std::memcmp(&text_[start], path.data(), path.size()) == 0 &&
           text_[start + path.size()] == '\0';
}

} // namespace platform
