#pragma once

#include "local_project/Digest.h"

#include <cstdint>
#include <functional>
#include <limits>
#include <string>
#include <string_view>

namespace local_project {

// The body of a request on its way in: read once, in pieces, counted and digested as it passes, never held whole
// unless asked for as text.
class Body {
public:
    // Takes one piece; false ends the reading.
    using Receiver = std::function<bool(std::string_view)>;
    // Hands all pieces to the receiver; false where the body did not come to its end.
    using Source = std::function<bool(const Receiver&)>;

    explicit Body(Source source) : source_(std::move(source)) {}

    // Reading fails once this many bytes have come in, as if the connection had broken there.
    void cutAfter(std::uint64_t bytes) { limit_ = bytes; }

    // Hands every piece on. False where the body broke off; what was handed on is then not the whole.
    [[nodiscard]] bool forward(const std::function<void(std::string_view)>& sink);

    // The whole body as text. Throws std::length_error where it is too large for a JSON document.
    [[nodiscard]] std::string text();

    // Reads what nobody has asked for, so that the next request of the connection is found behind it.
    void drain();

    [[nodiscard]] bool isRead() const { return isRead_; }
    [[nodiscard]] std::uint64_t bytes() const { return bytes_; }

    // Lowercase hexadecimal SHA-256 of what was read. Once, after the reading.
    [[nodiscard]] std::string digest();

private:
    Source source_;
    std::uint64_t limit_ = std::numeric_limits<std::uint64_t>::max();
    std::uint64_t bytes_ = 0;
    bool isRead_ = false;
    Digest running_;
    std::string digest_;
};

} // namespace local_project
