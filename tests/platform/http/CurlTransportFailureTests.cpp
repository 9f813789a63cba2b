#include "Browser.h"
#include "support/ScriptedServer.h"

#include <gtest/gtest.h>

namespace platform::testing {
namespace {

using veskline::testing::ScriptedReply;
using veskline::testing::ScriptedServer;
using Cut = ScriptedReply::Cut;

TEST(CurlTransport, TellsFailuresInWords) {
    const std::string lost = "The connection to the server was lost: ";
    const struct {
        const char* name;
        ScriptedReply reply;
        std::string outcome;
    } cases[] = {
        {"cut before the answer", {.cut = Cut::beforeHeaders}, lost + "Empty reply from server"},
        {"cut in the body",
         {.body = "four", .cut = Cut::inBody},
         lost + "transfer closed with 2 bytes remaining to read"},
        {"cut after the body", {.body = "four", .cut = Cut::afterBody}, "200"},
        {"body too large", {.body = std::string(1025, 'x')}, "The server's answer is larger than 1 KiB"},
        {"body as large as may be", {.body = std::string(1024, 'x')}, "200"},
        {"headers too large",
         {.headers = {{"A", std::string(1000, 'a')}, {"B", std::string(1000, 'b')}}},
         "The server's answer has more than 1 KiB of headers"},
        {"no HTTP", {.raw = "SSH-2.0-OpenSSH_9.2p1\r\n"}, "0"},
        {"nonsense for a status", {.raw = "HTTP/1.1 nonsense\r\n\r\n"}, "0"},
        {"redirect without an address", {.status = 302}, "302"},
        {"redirect to elsewhere",
         {.status = 302, .headers = {{"Location", "file:///etc/passwd"}}},
         "The server redirects to an address that is neither http nor https"},
    };
    for (const auto& [name, reply, outcome] : cases) {
        ScriptedServer server;
        Browser browser({.bodyBytes = 1024, .headerBytes = 1024});
        server.reply(reply);
        EXPECT_EQ(browser.outcome({.method = "GET", .url = server.url() + "/?secret"}), outcome) << name;
        EXPECT_EQ(server.requests().size(), 1U) << name;
    }
}

TEST(CurlTransport, StopsAtARingOfRedirects) {
    ScriptedServer server;
    Browser browser;
    for (int time = 0; time < 12; ++time) {
        server.reply({.status = 303, .headers = {{"Location", "/round"}}});
    }
    EXPECT_EQ(browser.outcome({.method = "GET", .url = server.url()}), "The server redirects more than 10 times");
    EXPECT_EQ(server.requests().size(), 11U);
}

TEST(CurlTransport, RefusesWhatCannotBeSent) {
    Browser browser;
    std::string closed;
    {
        const ScriptedServer gone;
        closed = gone.url();
    }
    EXPECT_TRUE(browser.outcome({.method = "GET", .url = closed + "/?secret"})
                    .starts_with("Could not connect to the server: Failed to connect to 127.0.0.1"));
    EXPECT_TRUE(browser.outcome({.method = "GET", .url = "ftp://127.0.0.1/"})
                    .starts_with("The request could not be carried out: Protocol \"ftp\" "));
    const HttpRequest split{.method = "GET", .url = closed, .headers = {{"Authorization", "a\r\nEvil: b"}}};
    EXPECT_EQ(browser.outcome(split), "The header \"Authorization\" of the request holds a line break");
}

TEST(CurlTransport, GivesUpOnAServerThatStalls) {
    ScriptedServer server;
    Browser browser({.stall = std::chrono::seconds(1)});
    server.reply({.isHeld = true});
    EXPECT_TRUE(
        browser.outcome({.method = "GET", .url = server.url()}).starts_with("The server did not answer in time: "));
    server.waitForHangUps(1);
}

} // namespace
} // namespace platform::testing
