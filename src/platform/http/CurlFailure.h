#pragma once

#include "platform/http/TransportError.h"

#include <curl/curl.h>

#include <string_view>

namespace platform {

// The words for a failed transfer: what it means to the user, then libcurl's own account (CURLOPT_ERRORBUFFER(3)),
// which names the server at most; a query in it would be cut off. Used inside this folder.
[[nodiscard]] TransportError curlFailure(CURLcode code, std::string_view account);

} // namespace platform
