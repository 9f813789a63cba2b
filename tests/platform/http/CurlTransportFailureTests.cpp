#include "TransportFixture.h"

namespace platform::testing {
namespace {

using Cut = ScriptedReply::Cut;

class CurlTransportFailures : public TransportFixture {
protected:
    CurlTransportFailures()
        : TransportFixture({.stall = std::chrono::seconds(1), .bodyBytes = 1024, .headerBytes = 1024}) {}
};

TEST_F(CurlTransportFailures, AreToldInWords) {
    const std::string lost = "The connection to the server was lost: "; // and libcurl's words, which releases change
    const struct {
        ScriptedReply reply;
        std::string outcome;
    } cases[] = {
        {{.cut = Cut::beforeHeaders}, lost},
        {{.body = "four", .cut = Cut::inBody}, lost},
        {{.body = "four", .cut = Cut::afterBody}, "200"},
        {{.body = std::string(1025, 'x')}, "The server's answer is larger than 1 KiB"},
        {{.body = std::string(1024, 'x')}, "200"},
        {{.headers = {{"A", std::string(1024, 'a')}}}, "The server's answer has more than 1 KiB of headers"},
        {{.raw = "SSH-2.0-OpenSSH_9.2p1\r\n"}, "0"},
        {{.raw = "HTTP/1.1 nonsense\r\n\r\n"}, "0"},
        {{.status = 302}, "302"},
        {{.status = 302, .headers = {{"Location", "file:///etc/passwd"}}},
         "The server redirects to an address that is neither http nor https"},
    };
    for (const auto& [reply, expected] : cases) {
        server.reply(reply);
        const std::string outcome = outcomeOf("GET", server.url() + "/?secret");
        EXPECT_EQ(expected == lost ? outcome.substr(0, lost.size()) : outcome, expected);
        EXPECT_FALSE(outcome.contains("secret"));
    }
    EXPECT_EQ(server.requests().size(), std::size(cases));
}

TEST_F(CurlTransportFailures, EndARingOfRedirects) {
    server.replies(std::vector(12, ScriptedReply{.status = 303, .headers = {{"Location", "/round"}}}));
    EXPECT_EQ(outcomeOf("GET", server.url()), "The server redirects more than 10 times");
    EXPECT_EQ(server.requests().size(), 11U);
}

TEST_F(CurlTransportFailures, KeepBackWhatCannotBeSent) {
    const std::string closed = ScriptedServer().url();
    EXPECT_EQ(outcomeOf("GET", closed + "/?secret"), "Could not connect to the server: 127.0.0.1 port " +
                                                         closed.substr(closed.rfind(':') + 1) +
                                                         " (Connection refused)");
    EXPECT_EQ(outcomeOf("GET", "http://missing.invalid/?secret"), "Could not find the server: missing.invalid");
    EXPECT_TRUE(
        outcomeOf("GET", "ftp://127.0.0.1/").starts_with("The request could not be carried out: Protocol \"ftp\" "));
    EXPECT_EQ(browser.outcome({.method = "GET", .url = closed, .headers = {{"Authorization", "a\r\nEvil: b"}}}),
              "The header \"Authorization\" of the request holds a line break");
}

TEST_F(CurlTransportFailures, GiveUpAServerThatStalls) {
    server.reply({.isHeld = true});
    EXPECT_TRUE(outcomeOf("GET", server.url()).starts_with("The server did not answer in time: "));
    server.waitForHangUps(1);
}

} // namespace
} // namespace platform::testing
