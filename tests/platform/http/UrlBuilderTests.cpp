#include "platform/http/UrlBuilder.h"

#include <gtest/gtest.h>

#include <vector>

namespace platform {
namespace {

TEST(UrlBuilder, ReplacesPathAndQueryOfTheBase) {
    const std::vector<QueryItem> query{{"a", "1"}, {"b", ""}};
    const struct {
        const char* base;
        const char* path;
        std::optional<std::string> url;
    } cases[] = {
        {"https://p.example", "/rest/v1", "https://p.example/rest/v1?a=1&b="},
        {"https://p.example/", "/", "https://p.example/?a=1&b="},
        {"http://u:p@127.0.0.1:54321/old/path?old=1#old", "/new", "http://u:p@127.0.0.1:54321/new?a=1&b="},
        {"http://[::1]:80/", "/x//../y", "http://[::1]:80/x//../y?a=1&b="},
        {"p.example", "/x", std::nullopt},
        {"", "/x", std::nullopt},
        {"https://", "/x", std::nullopt},
        {"https://p.example", "x", std::nullopt},
    };
    for (const auto& [base, path, url] : cases) {
        EXPECT_EQ(buildUrl(base, path, query), url) << base;
    }
    EXPECT_EQ(buildUrl("https://p.example/old?x", "/p"), "https://p.example/p");
}

TEST(UrlBuilder, EscapesOnce) {
    const struct {
        const char* text;
        const char* path;
        const char* value;
    } cases[] = {
        {"aZ09-._~", "aZ09-._~", "aZ09-._~"},
        {"a/b", "a/b", "a/b"},
        {"!$'()*,:@", "!$'()*,:@", "!$'()*,:@"},
        {"&=;+", "&=;+", "%26%3D%3B%2B"},
        {"a b", "a%20b", "a%20b"},
        {"%41", "%2541", "%2541"},
        {"?#[]", "%3F%23%5B%5D", "?%23%5B%5D"},
        {"\"<>\\^`{|}", "%22%3C%3E%5C%5E%60%7B%7C%7D", "%22%3C%3E%5C%5E%60%7B%7C%7D"},
        {"\xC3\xA9\xE2\x82\xAC\x7F\n", "%C3%A9%E2%82%AC%7F%0A", "%C3%A9%E2%82%AC%7F%0A"},
    };
    for (const auto& [text, path, value] : cases) {
        const std::vector<QueryItem> query{{text, text}};
        const std::string expected = std::string("http://h/") + path + "?" + value + "=" + value;
        EXPECT_EQ(buildUrl("http://h", std::string("/") + text, query), expected);
    }
}

} // namespace
} // namespace platform
