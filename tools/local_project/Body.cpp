#include "local_project/Body.h"

#include <algorithm>
#include <stdexcept>

namespace local_project {

namespace {

constexpr std::size_t textLimit = std::size_t{64} << 20U;

} // namespace

bool Body::forward(const std::function<void(std::string_view)>& sink) {
    if (isRead_) {
        return false;
    }
    isRead_ = true;
    return source_([&](std::string_view piece) {
        const auto kept =
            piece.substr(0, static_cast<std::size_t>(std::min<std::uint64_t>(piece.size(), limit_ - bytes_)));
        bytes_ += kept.size();
        running_.update(kept);
        sink(kept);
        return bytes_ < limit_;
    });
}

std::string Body::text() {
    std::string whole;
    const bool isWhole = forward([&](std::string_view piece) {
        if (whole.size() + piece.size() > textLimit) {
            throw std::length_error("the body is too large for a JSON document");
        }
        whole += piece;
    });
    return isWhole ? whole : std::string();
}

void Body::drain() {
    if (!isRead_) {
        static_cast<void>(forward([](std::string_view) {}));
    }
}

std::string Body::digest() {
    if (digest_.empty()) {
        digest_ = running_.hex();
    }
    return digest_;
}

} // namespace local_project
