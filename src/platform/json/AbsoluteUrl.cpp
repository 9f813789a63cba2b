#include "platform/json/AbsoluteUrl.h"

#include <curl/curl.h>
#include <strings.h>

#include <algorithm>
#include <memory>
#include <new>
#include <string>

namespace platform {

namespace {

// The library also takes one slash or three before a host, and would find a host in what was meant as a path.
bool hasPlainAuthority(std::string_view text) {
    const std::size_t colon = text.find(':');
    const std::string scheme(text.substr(0, colon));
    if (strcasecmp(scheme.c_str(), "http") != 0 && strcasecmp(scheme.c_str(), "https") != 0) {
        return true;
    }
    const std::string_view rest = text.substr(std::min(colon, text.size()));
    return rest.starts_with("://") && !rest.starts_with(":///");
}

} // namespace

bool isAbsoluteUrl(std::string_view text) {
    const auto isBlankOrControl = [](char c) { return static_cast<unsigned char>(c) <= ' ' || c == '\x7f'; };
    if (std::ranges::any_of(text, isBlankOrControl) || !hasPlainAuthority(text)) {
        return false;
    }
    const std::unique_ptr<CURLU, decltype(&curl_url_cleanup)> url(curl_url(), &curl_url_cleanup);
    if (!url) {
        throw std::bad_alloc();
    }
    return curl_url_set(url.get(), CURLUPART_URL, std::string(text).c_str(), CURLU_NON_SUPPORT_SCHEME) == CURLUE_OK;
}

} // namespace platform
