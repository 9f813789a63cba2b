#pragma once

#include "platform/http/TransportError.h"

#include <curl/curl.h>

#include <string_view>

namespace platform {

// The words for a failed transfer: what it means to the user, then what libcurl's own account (CURLOPT_ERRORBUFFER(3))
// adds to that. The account names the server or the proxy at most; a query in it would be cut off. `systemError` is
// that of CURLINFO_OS_ERRNO(3), the reason where no connection was made. Used inside this folder.
[[nodiscard]] TransportError curlFailure(CURLcode code, std::string_view account, int systemError = 0);

} // namespace platform
