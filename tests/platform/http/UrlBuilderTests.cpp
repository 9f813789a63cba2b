#include "platform/http/UrlBuilder.h"

#include <gtest/gtest.h>

namespace platform {
namespace {

TEST(UrlBuilder, ReplacesPathAndQueryOfTheBaseAndEscapesOnce) {
    const struct {
        const char* base;
        const char* path;
        std::string value;
        std::optional<std::string> url;
    } cases[] = {
        {"https://p.example", "/rest/v1", "1", "https://p.example/rest/v1?q=1"},
        {"http://u:p@127.0.0.1:54321/old/path?old=1#old", "/", "", "http://u:p@127.0.0.1:54321/?q="},
        {"http://[::1]:80/", "/x//../y", "a/b", "http://[::1]:80/x//../y?q=a/b"},
        {"http://h", "/aZ09-._~!$'()*,:@", "aZ09-._~!$'()*,:@", "http://h/aZ09-._~!$'()*,:@?q=aZ09-._~!$'()*,:@"},
        {"http://h", "/&=;+ %41", "&=;+ %41", "http://h/&=;+%20%2541?q=%26%3D%3B%2B%20%2541"},
        {"http://h", "/?#[]", "?#[]", "http://h/%3F%23%5B%5D?q=?%23%5B%5D"},
        {"http://h", "/\"<>\\^`{|}", "\xC3\xA9\x7F\n", "http://h/%22%3C%3E%5C%5E%60%7B%7C%7D?q=%C3%A9%7F%0A"},
        {"p.example", "/x", "", std::nullopt},
        {"", "/x", "", std::nullopt},
        {"https://", "/x", "", std::nullopt},
        {"https://p.example", "x", "", std::nullopt},
    };
    for (const auto& [base, path, value, url] : cases) {
        EXPECT_EQ(buildUrl(base, path, std::vector<QueryItem>{{"q", value}}), url) << base << path;
    }
    EXPECT_EQ(buildUrl("https://p.example/old?x", "/p"), "https://p.example/p");
}

} // namespace
} // namespace platform
