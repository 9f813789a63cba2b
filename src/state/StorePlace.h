#pragma once

#include <string>
#include <string_view>

namespace veskline {

// Where a store keeps its file.
struct StorePlace {
    std::string path;
    // Set for a place in a folder that all users share: then only a regular file of this user's own counts as the
    // store's. What another user put there is neither read nor written.
    bool mustBeOwn = false;
};

// Where the fall-back files lie: the stores work from there when the state folder cannot be made.
inline constexpr std::string_view sharedTemporaryFolder = "/tmp";

// The path that `file` gives, or, where it throws platform::FileError, `fallbackName` in `fallbackFolder`.
[[nodiscard]] StorePlace placeOrFallback(std::string (*file)(), std::string_view fallbackName,
                                         std::string_view fallbackFolder);

} // namespace veskline
