#include "platform/json/AbsoluteUrl.h"

#include <curl/curl.h>

#include <algorithm>
#include <memory>
#include <new>
#include <string>

namespace platform {

bool isAbsoluteUrl(std::string_view text) {
    const auto isBlankOrControl = [](char c) { return static_cast<unsigned char>(c) <= ' ' || c == '\x7f'; };
    if (std::ranges::any_of(text, isBlankOrControl)) {
        return false;
    }
    const std::unique_ptr<CURLU, decltype(&curl_url_cleanup)> url(curl_url(), &curl_url_cleanup);
    if (!url) {
        throw std::bad_alloc();
    }
    return curl_url_set(url.get(), CURLUPART_URL, std::string(text).c_str(), CURLU_NON_SUPPORT_SCHEME) == CURLUE_OK;
}

} // namespace platform
