#include "rules/MountPoints.h"

#include "platform/files/Paths.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <iterator>

namespace veskline {

namespace {

std::string_view takeUntil(std::string_view& text, char end) {
    const std::string_view part = text.substr(0, text.find(end));
    text.remove_prefix(std::min(text.size(), part.size() + 1));
    return part;
}

// Blanks, line ends and backslashes stand as three octal digits: "\040".
std::string unescaped(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        if (text.size() >= 4 && text.front() == '\\') {
            const int code = (text[1] - '0') * 64 + (text[2] - '0') * 8 + (text[3] - '0');
            result.push_back(static_cast<char>(code));
            text.remove_prefix(4);
        } else {
            result.push_back(text.front());
            text.remove_prefix(1);
        }
    }
    return result;
}

} // namespace

std::vector<std::string> mountsWithin(std::string_view mountInfo, std::string_view folder) {
    std::vector<std::string> mounts;
    while (!mountInfo.empty()) {
        std::string_view line = takeUntil(mountInfo, '\n');
        std::array<std::string_view, 5> fields; // mount, parent, device, the part mounted, where
        std::ranges::generate(fields, [&] { return takeUntil(line, ' '); });
        const std::string place = unescaped(fields.back());
        if (!place.empty() && (place == folder || platform::isBelow(place, folder))) {
            mounts.push_back(std::string(fields.front()).append(" ").append(place));
        }
    }
    return mounts;
}

std::vector<std::string> currentMountsWithin(std::string_view folder) {
    std::ifstream file("/proc/self/mountinfo");
    const std::string mountInfo(std::istreambuf_iterator<char>(file), {});
    return mountsWithin(mountInfo, folder);
}

} // namespace veskline
