#include "platform/json/JsonPlace.h"

#include <fmt/format.h>

namespace platform {

std::string JsonPlace::path() const {
    const std::string above = above_ != nullptr ? above_->path() : std::string();
    if (isElement_) {
        return fmt::format("{}[{}]", above, index_);
    }
    return above.empty() ? std::string(key_) : fmt::format("{}.{}", above, key_);
}

JsonError JsonPlace::failure(std::string_view reason) const {
    const std::string where = path();
    return JsonError(where.empty() ? fmt::format("The document {}", reason)
                                   : fmt::format("The value of \"{}\" {}", where, reason));
}

} // namespace platform
