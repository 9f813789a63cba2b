#pragma once

#include <curl/curl.h>

#include <memory>
#include <optional>
#include <string>

namespace platform {

// A URL in parts, by libcurl's own parser (libcurl-url(3)), so that what we judge is what goes out. Used inside this
// folder.
class CurlUrl {
public:
    // Absent for a text that is no absolute URL.
    [[nodiscard]] static std::optional<CurlUrl> parse(const std::string& text);

    // A null text removes the part. False, with nothing changed, for a text that cannot stand there.
    [[nodiscard]] bool set(CURLUPart part, const char* text, unsigned flags = 0);
    [[nodiscard]] std::optional<std::string> get(CURLUPart part, unsigned flags = 0) const;

    // Resolves a reference against this URL, as RFC 3986, 5.2 has it.
    [[nodiscard]] bool resolve(const std::string& reference);

private:
    struct Cleanup {
        void operator()(CURLU* url) const noexcept { curl_url_cleanup(url); }
    };
    std::unique_ptr<CURLU, Cleanup> url_{curl_url()};
};

} // namespace platform
