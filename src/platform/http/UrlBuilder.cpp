#include "platform/http/UrlBuilder.h"

#include "platform/http/CurlUrl.h"

namespace platform {

namespace {

constexpr std::string_view lettersAndDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
constexpr std::string_view pathMarks = "-._~!$&'()*+,;=:@/";
constexpr std::string_view queryMarks = "-._~!$'()*,:@/?";

void appendEscaped(std::string& url, std::string_view text, std::string_view marks) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    for (const char character : text) {
        if (lettersAndDigits.contains(character) || marks.contains(character)) {
            url += character;
        } else {
            const auto byte = static_cast<unsigned char>(character);
            url += {'%', digits[byte >> 4U], digits[byte & 0xFU]};
        }
    }
}

// Scheme, user, host and port, without a slash at the end.
std::optional<std::string> serverOf(const std::string& base) {
    std::optional<CurlUrl> url = CurlUrl::parse(base);
    if (!url || !url->set(CURLUPART_PATH, "/") || !url->set(CURLUPART_QUERY, nullptr) ||
        !url->set(CURLUPART_FRAGMENT, nullptr)) {
        return std::nullopt;
    }
    std::optional<std::string> server = url->get(CURLUPART_URL);
    if (server && server->ends_with('/')) {
        server->pop_back();
    }
    return server;
}

} // namespace

UrlBuilder::UrlBuilder(const std::string& base) : server_(serverOf(base)) {}

std::optional<std::string> UrlBuilder::build(std::string_view path, std::span<const QueryItem> query) const {
    if (!server_ || !path.starts_with('/')) {
        return std::nullopt;
    }
    std::string url = *server_;
    appendEscaped(url, path, pathMarks);
    char separator = '?';
    for (const QueryItem& item : query) {
        url += separator;
        appendEscaped(url, item.name, queryMarks);
        url += '=';
        appendEscaped(url, item.value, queryMarks);
        separator = '&';
    }
    return url;
}

} // namespace platform
