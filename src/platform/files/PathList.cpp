#include "platform/files/PathList.h"

#include <algorithm>
#include <limits>
#include <stdexcept>

namespace platform {

void PathList::add(std::string_view path) {
    const std::size_t start = text_.size();
    if (start + path.size() + 1 > std::numeric_limits<std::uint32_t>::max()) {
        throw std::length_error("There are too many files: their paths take more than 4 GiB");
    }
    text_.append(path);
    text_.append('\0');
    starts_.append(static_cast<std::uint32_t>(start));
}

void PathList::sort() {
    const char* const text = text_.values().data();
    std::ranges::sort(starts_.values(), [text](std::uint32_t left, std::uint32_t right) {
        return std::strcmp(text + left, text + right) < 0; // compares as unsigned bytes
    });
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
