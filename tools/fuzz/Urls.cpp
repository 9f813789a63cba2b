#include "Target.h"
#include "platform/http/CurlUrl.h"
#include "platform/http/UrlBuilder.h"

#include <array>
#include <charconv>
#include <string>

namespace veskline::fuzz {

namespace {

using platform::CurlUrl;
using Text = std::optional<std::string>;

std::string unescaped(std::string_view text) {
    std::string plain;
    while (!text.empty()) {
        std::size_t taken = 1;
        auto byte = static_cast<unsigned char>(text.front());
        if (byte == '%') {
            require(text.size() > 2, "an escape is whole");
            const auto [end, error] = std::from_chars(text.data() + 1, text.data() + 3, byte, 16);
            require(error == std::errc() && end == text.data() + 3, "an escape is two hexadecimal digits");
            taken = 3;
        }
        plain += static_cast<char>(byte);
        text.remove_prefix(taken);
    }
    return plain;
}

void requireParts(const std::string& url, const std::string& base, const std::string& path,
                  const platform::QueryItem& item) {
    const std::optional<CurlUrl> parsed = CurlUrl::parse(url);
    const std::optional<CurlUrl> server = CurlUrl::parse(base);
    require(parsed.has_value(), "what was built is a URL");
    for (const CURLUPart part :
         {CURLUPART_SCHEME, CURLUPART_USER, CURLUPART_PASSWORD, CURLUPART_HOST, CURLUPART_PORT}) {
        require(parsed->get(part) == server->get(part), "the server is the base's");
    }
    require(!parsed->get(CURLUPART_FRAGMENT), "there is no fragment");
    const std::size_t query = url.find('?');
    require(query != std::string::npos && parsed->get(CURLUPART_QUERY) == url.substr(query + 1),
            "the only question mark that parts anything begins the query");
    const std::string pathAndServer = url.substr(0, query);
    const std::string bare = *platform::buildUrl(base, "/");
    require(pathAndServer.starts_with(bare) && unescaped(pathAndServer.substr(bare.size() - 1)) == path,
            "the path says what was given");
    const std::string pair = url.substr(query + 1);
    const std::size_t equals = pair.find('=');
    require(unescaped(pair.substr(0, equals)) == item.name && unescaped(pair.substr(equals + 1)) == item.value,
            "the query says what was given");
    require(pair.find_first_of("&;+=", equals + 1) == std::string::npos, "a value holds no mark that parts a query");
}

} // namespace

// The base, a name and a value of the query in a line each; the rest is the path.
void check(std::string_view input) {
    const std::string ours = "https://project.example:8443/configured?old#old";
    const std::string theirs(takeLine(input));
    const platform::QueryItem item{.name = std::string(takeLine(input)), .value = std::string(takeLine(input))};
    const std::string path(input);
    for (const std::string& base : {ours, theirs}) {
        const Text url = platform::buildUrl(base, path, std::array{item});
        require(!url || path.starts_with('/'), "a path begins with a slash");
        if (url) {
            requireParts(*url, base, path, item);
        }
    }
    require(platform::buildUrl(ours, "/" + path).has_value(), "any text can be a path");
}

} // namespace veskline::fuzz
