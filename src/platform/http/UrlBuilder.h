#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace platform {

struct QueryItem {
    std::string name;
    std::string value;
};

// Makes URLs of one server: those of `base` with its path, query and fragment replaced, so that scheme, user, host and
// port stay. Made once for many: to take `base` apart costs more than all that follows. No items make no query, and no
// `?`.
//
// Path and query are plain text and are escaped here, once. What RFC 3986 lets stand in a path (3.3) or query (3.4)
// stands, and any other byte of the UTF-8 text becomes %XX, `%` itself among them. In a name or a value of the query
// `&`, `=`, `;` and `+` are escaped too, since services read them as separators and blanks.
//
// Absent where `base` is no absolute URL, or where the path has no `/` at its start.
class UrlBuilder {
public:
    explicit UrlBuilder(const std::string& base);

    [[nodiscard]] std::optional<std::string> build(std::string_view path, std::span<const QueryItem> query = {}) const;

private:
    std::optional<std::string> server_; // without a slash at its end
};

// One URL alone.
[[nodiscard]] inline std::optional<std::string> buildUrl(const std::string& base, std::string_view path,
                                                         std::span<const QueryItem> query = {}) {
    return UrlBuilder(base).build(path, query);
}

} // namespace platform
