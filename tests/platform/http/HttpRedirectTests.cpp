#include "platform/http/HttpRedirect.h"
#include "platform/http/TransportError.h"

#include <gtest/gtest.h>

namespace platform {
namespace {

std::string redirected(const std::string& method, const std::string& url, int status, const std::string& location) {
    HttpRequest request{.method = method, .url = url, .body = "b"};
    request.headers = {{"APIkey", "k"}, {"authorization", "t"}, {"Content-Type", "text/plain"}, {"Prefer", "p"}};
    const HttpResponse response{.status = status, .headers = {{"LOCATION", location}}};
    try {
        const auto next = followRedirect(request, response);
        if (!next) {
            return "final";
        }
        std::string told = next->method + " " + next->url;
        for (const HttpHeader& header : next->headers) {
            told += " " + header.name;
        }
        return next->body == request.body ? told + " body" : told;
    } catch (const TransportError& error) {
        return error.what();
    }
}

TEST(HttpRedirect, FollowsAddressesSafely) {
    const std::string all = " APIkey authorization Content-Type Prefer body";
    const struct {
        const char* method;
        int status;
        const char* location;
        std::string next;
    } cases[] = {
        {"POST", 200, "/b", "final"},
        {"POST", 301, "/b", "GET https://a.example/b APIkey authorization Prefer"},
        {"POST", 302, "?x=y", "GET https://a.example/dir/file?x=y APIkey authorization Prefer"},
        {"PATCH", 302, "b", "PATCH https://a.example/dir/b" + all},
        {"PATCH", 303, "b", "GET https://a.example/dir/b APIkey authorization Prefer"},
        {"HEAD", 303, "b", "HEAD https://a.example/dir/b" + all},
        {"POST", 307, "../up#part", "POST https://a.example/up" + all},
        {"POST", 308, "/a b\xC3\xA9", "POST https://a.example/a%20b%c3%a9" + all},
        {"POST", 308, "https://A.example:443/b", "POST https://A.example:443/b" + all},
        {"POST", 308, "https://a.example:8443/b", "POST https://a.example:8443/b Content-Type Prefer body"},
        {"POST", 308, "//b.example/b", "POST https://b.example/b Content-Type Prefer body"},
        {"POST", 308, "http://a.example/b",
         "The server redirects from https to http, which would send everything in clear"},
        {"POST", 308, "ftp://a.example/b", "The server redirects to an address that is neither http nor https"},
        {"POST", 308, "https://[", "The server redirects to an address that cannot be read"},
    };
    for (const auto& [method, status, location, next] : cases) {
        EXPECT_EQ(redirected(method, "https://a.example/dir/file", status, location), next) << location;
    }
    EXPECT_EQ(redirected("GET", "http://a.example/", 302, "https://a.example/"),
              "GET https://a.example/ Content-Type Prefer body");
}

} // namespace
} // namespace platform
