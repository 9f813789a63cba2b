#pragma once

#include <string_view>

namespace platform {

// Whether `text` is an absolute URL as the HTTP library takes it (RFC 3986 with libcurl's limits, curl_url_set(3)):
// it has a scheme, any scheme, and for http and https a host; no blanks, no control characters.
[[nodiscard]] bool isAbsoluteUrl(std::string_view text);

} // namespace platform
