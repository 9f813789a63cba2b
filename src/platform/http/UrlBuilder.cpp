#include "platform/http/UrlBuilder.h"

#include "platform/http/CurlUrl.h"

#include <array>

namespace platform {

namespace {

// After the server: what most URLs take, so that they are made in one piece.
constexpr std::size_t usualUrlBytes = 256;

// Which bytes stand as they are: letters, digits and some marks.
using PlainBytes = std::array<bool, 256>;

constexpr PlainBytes lettersDigitsAnd(std::string_view marks) {
    PlainBytes plain{};
    for (const std::string_view characters :
         {std::string_view("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789"), marks}) {
        for (const char character : characters) {
            plain[static_cast<unsigned char>(character)] = true;
        }
    }
    return plain;
}

constexpr PlainBytes plainInPath = lettersDigitsAnd("-._~!$&'()*+,;=:@/");
constexpr PlainBytes plainInQuery = lettersDigitsAnd("-._~!$'()*,:@/?");

void appendEscaped(std::string& url, std::string_view text, const PlainBytes& plain) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        if (plain[byte]) {
            url += character;
        } else {
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
    std::string url;
    url.reserve(server_->size() + usualUrlBytes);
    url += *server_;
    appendEscaped(url, path, plainInPath);
    char separator = '?';
    for (const QueryItem& item : query) {
        url += separator;
        appendEscaped(url, item.name, plainInQuery);
        url += '=';
        appendEscaped(url, item.value, plainInQuery);
        separator = '&';
    }
    return url;
}

} // namespace platform
