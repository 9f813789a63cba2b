#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace local_project {

// Names and values in the order in which they were sent, each name spelled as it was sent.
using Fields = std::vector<std::pair<std::string, std::string>>;

// The request line and headers of one request exactly as they came in, before anything was decoded, sorted or folded:
// what a client really sent is what tests compare.
struct RequestHead {
    std::string method;
    std::string target; // path and query, undecoded
    std::string version;
    Fields headers;

    // Reads the text of a head up to its empty line (RFC 9112, sections 3 and 5). Absent where it is none.
    [[nodiscard]] static std::optional<RequestHead> parse(std::string_view text);

    // The value of a header, its name compared without regard to case; the empty text where it is missing.
    [[nodiscard]] std::string header(std::string_view name) const;

    // The target's path with its percent escapes decoded.
    [[nodiscard]] std::string path() const;

    // The target's query items in order, decoded; a plus sign is a space there, as the hosted services read it.
    [[nodiscard]] Fields query() const;

    // A head with the same method, version and framing headers, for the target "/", and always with a length: what is
    // handed to the HTTP library, whose limits on lengths, ranges and encodings are not those of the hosted services.
    [[nodiscard]] std::string framing() const;
};

} // namespace local_project
