#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

// What goes out in an HTTP exchange and what comes back. Plain values.

namespace platform {

struct HttpHeader {
    std::string name; // as it is spelled on the wire
    std::string value;

    friend bool operator==(const HttpHeader&, const HttpHeader&) = default;
};

// True for two names of one header: they are compared without regard to case (RFC 9110, 5.1).
[[nodiscard]] bool isSameHeader(std::string_view one, std::string_view other) noexcept;

// A body that is read from a file while it is sent, so that no large one ever lies in memory whole. The file is opened
// when the exchange starts, and its size at that moment is the size that is sent.
struct FileBody {
    std::string path;

    friend bool operator==(const FileBody&, const FileBody&) = default;
};

using HttpBody = std::variant<std::monostate, std::string, FileBody>;

struct HttpRequest {
    std::string method;
    std::string url; // absolute and escaped: it goes out as it stands
    std::vector<HttpHeader> headers;
    HttpBody body;

    // Puts a header at the end, or over an earlier one of that name.
    void setHeader(std::string name, std::string value);
    void removeHeader(std::string_view name);

    friend bool operator==(const HttpRequest&, const HttpRequest&) = default;
};

struct HttpResponse {
    // 0 where the answer was no HTTP at all; it has neither headers nor a body then.
    int status = 0;
    std::vector<HttpHeader> headers;
    std::string body;

    // The first header of that name.
    [[nodiscard]] std::optional<std::string_view> header(std::string_view name) const;

    friend bool operator==(const HttpResponse&, const HttpResponse&) = default;
};

} // namespace platform
