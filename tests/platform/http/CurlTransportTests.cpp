#include "TransportFixture.h"

namespace platform::testing {
namespace {

using CurlTransportExchanges = TransportFixture;
using veskline::testing::Headers;

TEST_F(CurlTransportExchanges, SendTheRequestAsItStandsAndNoHeaderOfTheirOwn) {
    server.replies({{.status = 201, .body = "made", .headers = {{"Content-Range", "0-0/57"}}}, {.status = 500}});
    HttpRequest request{.method = "PATCH", .url = server.url() + "/a/../b/%C3%A9;x?q=%2B,(.)", .body = "{}"};
    request.headers = {{"apikey", ""}, {"content-type", "text/plain"}};
    request.setHeader("Content-Type", "application/json");

    const HttpResponse response = browser.send(request);

    EXPECT_EQ(std::to_string(response.status) + " " + response.body, "201 made");
    EXPECT_EQ(response.header("content-range"), "0-0/57");
    EXPECT_EQ(outcomeOf("POST", server.url()), "500");
    const std::pair<std::string, std::string> host{"Host", server.url().substr(7)};
    const auto sent = server.requests();
    EXPECT_EQ(sent.at(0).line() + " " + sent.at(0).body, "PATCH /a/../b/%C3%A9;x?q=%2B,(.) {}");
    EXPECT_EQ(sent.at(0).headers,
              (Headers{host, {"apikey", ""}, {"Content-Type", "application/json"}, {"Content-Length", "2"}}));
    EXPECT_EQ(sent.at(1).headers, (Headers{host, {"Content-Length", "0"}}));
}

TEST_F(CurlTransportExchanges, LookPastInterimAnswersAndTrailers) {
    server.reply({.raw = "HTTP/1.1 103 Early\r\nA: early\r\n\r\n"
                         "HTTP/1.1 206 Partial\r\nTransfer-Encoding: chunked\r\nB:  two \r\n\r\n"
                         "3\r\nabc\r\n0\r\nC: trailer\r\n\r\n"});
    const HttpResponse response = browser.send({.method = "GET", .url = server.url()});
    EXPECT_EQ(std::to_string(response.status) + " " + response.body, "206 abc");
    EXPECT_EQ(response.headers, (std::vector<HttpHeader>{{"Transfer-Encoding", "chunked"}, {"B", "two"}}));
}

// A GET may go out again where a kept connection proves dead; of anything else nobody knows whether it was carried out.
TEST_F(CurlTransportExchanges, GoOutAgainOnAFreshConnectionOnlyWhereThatDoesNoHarm) {
    const ScriptedReply cut{.cut = ScriptedReply::Cut::beforeHeaders};
    server.replies({{}, cut, {.status = 204}, cut});
    EXPECT_EQ(outcomeOf("GET", server.url()), "200");
    EXPECT_EQ(outcomeOf("GET", server.url()), "204");
    EXPECT_EQ(outcomeOf("POST", server.url()),
              "The connection to the server was lost: Server returned nothing (no headers, no data)");
    EXPECT_EQ(server.requests().size(), 4U);
}

} // namespace
} // namespace platform::testing
