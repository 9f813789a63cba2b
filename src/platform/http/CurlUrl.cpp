#include "platform/http/CurlUrl.h"

#include <new>

namespace platform {

std::optional<CurlUrl> CurlUrl::parse(const std::string& text) {
    CurlUrl url;
    if (!url.url_) {
        throw std::bad_alloc();
    }
    if (!url.set(CURLUPART_URL, text.c_str(), CURLU_PATH_AS_IS)) {
        return std::nullopt;
    }
    return url;
}

bool CurlUrl::set(CURLUPart part, const char* text, unsigned flags) {
    return curl_url_set(url_.get(), part, text, flags) == CURLUE_OK;
}

std::optional<std::string> CurlUrl::get(CURLUPart part, unsigned flags) const {
    char* text = nullptr;
    if (curl_url_get(url_.get(), part, &text, flags) != CURLUE_OK) {
        return std::nullopt;
    }
    const std::unique_ptr<char, decltype(&curl_free)> owned(text, &curl_free);
    return std::string(text);
}

bool CurlUrl::resolve(const std::string& reference) {
    return set(CURLUPART_URL, reference.c_str(), CURLU_URLENCODE);
}

} // namespace platform
