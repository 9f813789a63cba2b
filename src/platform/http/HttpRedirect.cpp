#include "platform/http/HttpRedirect.h"

#include "platform/http/CurlUrl.h"
#include "platform/http/TransportError.h"

#include <utility>

namespace platform {

namespace {

bool isRedirect(int status) {
    return status == 301 || status == 302 || status == 303 || status == 307 || status == 308;
}

bool goesOnAsGet(const std::string& method, int status) {
    if (status == 303) {
        return method != "HEAD";
    }
    return method == "POST" && (status == 301 || status == 302);
}

CurlUrl resolved(const std::string& from, std::string_view location) {
    std::optional<CurlUrl> url = CurlUrl::parse(from);
    if (!url || !url->resolve(std::string(location)) || !url->set(CURLUPART_FRAGMENT, nullptr)) {
        throw TransportError("The server redirects to an address that cannot be read");
    }
    return *std::move(url);
}

bool isSameOrigin(const CurlUrl& one, const CurlUrl& other) {
    const auto hostOf = [](const CurlUrl& url) { return url.get(CURLUPART_HOST).value_or(""); };
    return one.get(CURLUPART_SCHEME) == other.get(CURLUPART_SCHEME) && isSameHeader(hostOf(one), hostOf(other)) &&
           one.get(CURLUPART_PORT, CURLU_DEFAULT_PORT) == other.get(CURLUPART_PORT, CURLU_DEFAULT_PORT);
}

void refuseUnsafeScheme(const CurlUrl& from, const CurlUrl& to) {
    const std::string scheme = to.get(CURLUPART_SCHEME).value_or("");
    if (scheme != "https" && scheme != "http") {
        throw TransportError("The server redirects to an address that is neither http nor https");
    }
    if (scheme == "http" && from.get(CURLUPART_SCHEME) == "https") {
        throw TransportError("The server redirects from https to http, which would send everything in clear");
    }
}

} // namespace

std::optional<HttpRequest> followRedirect(const HttpRequest& request, const HttpResponse& response) {
    const std::optional<std::string_view> location = response.header("Location");
    if (!isRedirect(response.status) || !location) {
        return std::nullopt;
    }
    const CurlUrl to = resolved(request.url, *location);
    const CurlUrl from = resolved(request.url, "");
    refuseUnsafeScheme(from, to);

    HttpRequest next = request;
    next.url = to.get(CURLUPART_URL).value_or("");
    if (goesOnAsGet(request.method, response.status)) {
        next.method = "GET";
        next.body = std::monostate();
        next.removeHeader("content-type");
    }
    if (!isSameOrigin(from, to)) {
        next.removeHeader("Authorization");
        next.removeHeader("apikey");
    }
    return next;
}

} // namespace platform
