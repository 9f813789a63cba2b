#include "state/StorePlace.h"

#include "platform/files/FileError.h"

#include <fmt/format.h>

namespace veskline {

StorePlace placeOrFallback(std::string (*file)(), std::string_view fallbackName, std::string_view fallbackFolder) {
    try {
        return {.path = file()};
    } catch (const platform::FileError&) {
        return {.path = fmt::format("{}/{}", fallbackFolder, fallbackName), .mustBeOwn = true};
    }
}

} // namespace veskline
