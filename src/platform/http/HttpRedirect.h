#pragma once

#include "platform/http/HttpMessage.h"

#include <optional>

namespace platform {

// The request that a redirecting response asks for (RFC 9110, 15.4), absent for any other response. A POST that was
// answered with 301 or 302, and anything answered with 303, goes on as a GET without a body; else method and body are
// repeated. Another origin (scheme, host or port) gets neither `Authorization` nor `apikey`: they belong to this one.
//
// Throws TransportError where the new address cannot be read, is neither http nor https, or leaves https for http.
[[nodiscard]] std::optional<HttpRequest> followRedirect(const HttpRequest& request, const HttpResponse& response);

} // namespace platform
