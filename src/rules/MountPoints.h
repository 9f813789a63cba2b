#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace veskline {

// What is mounted at `folder` and below it, one text for each mount in the order of `mountInfo`, the text of
// /proc/self/mountinfo (proc(5)). Two lists differ where something was mounted or unmounted meanwhile.
[[nodiscard]] std::vector<std::string> mountsWithin(std::string_view mountInfo, std::string_view folder);

// The same as the system is at present. `folder` has no links in its path.
[[nodiscard]] std::vector<std::string> currentMountsWithin(std::string_view folder);

} // namespace veskline
