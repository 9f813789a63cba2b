#include "platform/json/AbsoluteUrl.h"

#include <gtest/gtest.h>

using platform::isAbsoluteUrl;

TEST(AbsoluteUrl, NeedsASchemeAndAHostAndNoBlanks) {
    for (const char* text : {"https://abc.example.co", "http://127.0.0.1:54321/base/", "http://[::1]:8000", "ftp://h/x",
                             "vesk://dashboard/home", "https://example.com/a?b=c#d"}) {
        EXPECT_TRUE(isAbsoluteUrl(text)) << text;
    }
    for (const char* text : {"", "abc.example.co", "/path", "//host/path", "https://", "http:///path", "HTTPS:/path",
                             "https://a b.c", "https://a.b\n", "http://h:port", "http://h:99999"}) {
        EXPECT_FALSE(isAbsoluteUrl(text)) << text;
    }
    EXPECT_FALSE(isAbsoluteUrl(std::string_view("https://a.b\0/c", 14)));
}
