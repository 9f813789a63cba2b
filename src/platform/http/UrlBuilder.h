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

// The URL of `base` with its path, query and fragment replaced: scheme, user, host and port stay. No items make no
// query, and no `?`.
//
// Path and query are plain text and are escaped here, once. What RFC 3986 lets stand in a path (3.3) or query (3.4)
// stands, and any other byte of the UTF-8 text becomes %XX, `%` itself among them. In a name or a value of the query
// `&`, `=`, `;` and `+` are escaped too, since services read them as separators and blanks.
//
// Absent where `base` is no absolute URL, or where the path has no `/` at its start.
[[nodiscard]] std::optional<std::string> buildUrl(const std::string& base, std::string_view path,
                                                  std::span<const QueryItem> query = {});

} // namespace platform
