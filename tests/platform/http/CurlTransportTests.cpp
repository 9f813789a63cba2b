#include "Browser.h"
#include "platform/async/Cancelled.h"
#include "support/ScriptedServer.h"

#include <gtest/gtest.h>

namespace platform::testing {
namespace {

using veskline::testing::Headers;
using veskline::testing::ScriptedReply;
using veskline::testing::ScriptedServer;

TEST(CurlTransport, SendsTheHeadersOfTheRequestAndNoneOfItsOwn) {
    ScriptedServer server;
    Browser browser;
    server.reply({.status = 201, .body = "made", .headers = {{"Content-Range", "0-0/57"}}});
    HttpRequest request{.method = "PATCH", .url = server.url() + "/a/../b/%C3%A9;x?q=%2B,(.)", .body = "{}"};
    request.headers = {{"apikey", ""}, {"accept", "application/json"}, {"Authorization", "Bearer t"}};
    request.setHeader("content-type", "text/plain");
    request.setHeader("Content-Type", "application/json");

    const HttpResponse response = browser.send(request);

    EXPECT_EQ(response.status, 201);
    EXPECT_EQ(response.body, "made");
    EXPECT_EQ(response.header("content-range"), "0-0/57");
    EXPECT_EQ(response.header("Date"), std::nullopt);
    const auto sent = server.requests().at(0);
    EXPECT_EQ(sent.line(), "PATCH /a/../b/%C3%A9;x?q=%2B,(.)");
    EXPECT_EQ(sent.body, "{}");
    const Headers expected{{"Host", server.url().substr(7)},     {"apikey", ""},
                           {"accept", "application/json"},       {"Authorization", "Bearer t"},
                           {"Content-Type", "application/json"}, {"Content-Length", "2"}};
    EXPECT_EQ(sent.headers, expected);
}

TEST(CurlTransport, KeepsOneConnectionForRequestsInARow) {
    ScriptedServer server;
    Browser browser;
    server.replies({{.body = "{}"}, {.status = 500}, {.status = 404}});
    EXPECT_EQ(browser.send({.method = "GET", .url = server.url()}).status, 200);
    EXPECT_EQ(browser.send({.method = "POST", .url = server.url()}).status, 500);
    EXPECT_EQ(browser.send({.method = "PATCH", .url = server.url(), .body = "x"}).status, 404);

    const Headers bare{{"Host", server.url().substr(7)}};
    EXPECT_EQ(server.requests().at(0).headers, bare);
    EXPECT_EQ(server.requests().at(1).header("Content-Length"), "0");
    EXPECT_EQ(server.requests().at(2).connection, 1);
}

TEST(CurlTransport, LooksPastInterimAnswersAndTrailers) {
    ScriptedServer server;
    Browser browser;
    server.reply({.raw = "HTTP/1.1 103 Early\r\nA: early\r\n\r\n"
                         "HTTP/1.1 206 Partial\r\nTransfer-Encoding: chunked\r\nB:  two \r\n\r\n"
                         "3\r\nabc\r\n0\r\nC: trailer\r\n\r\n"});

    const HttpResponse response = browser.send({.method = "GET", .url = server.url()});

    EXPECT_EQ(response.status, 206);
    EXPECT_EQ(response.body, "abc");
    EXPECT_EQ(response.headers, (std::vector<HttpHeader>{{"Transfer-Encoding", "chunked"}, {"B", "two"}}));
}

TEST(CurlTransport, GivesAnotherServerTheRequestWithoutItsSecrets) {
    ScriptedServer server;
    ScriptedServer other;
    Browser browser;
    server.reply({.status = 307, .headers = {{"location", "/same?x=y"}}});
    server.reply({.status = 308, .headers = {{"location", other.url() + "/other"}}});
    other.reply({.body = "there"});
    HttpRequest request{.method = "POST", .url = server.url() + "/first", .body = "{}"};
    request.headers = {{"apikey", "k"}, {"Authorization", "Bearer t"}, {"Prefer", "p"}};

    EXPECT_EQ(browser.send(request).body, "there");
    const auto same = server.requests().at(1);
    EXPECT_EQ(same.line() + same.header("apikey") + same.header("Authorization"), "POST /same?x=ykBearer t");
    const auto moved = other.requests().at(0);
    EXPECT_EQ(moved.line() + " " + moved.body, "POST /other {}");
    EXPECT_EQ(moved.headers.size(), 3U); // Host, Prefer, Content-Length
}

// A GET may go out again where a kept connection proves dead; of anything else nobody knows whether it was carried out.
TEST(CurlTransport, SendsAgainOnAFreshConnectionOnlyWhatDoesNoHarm) {
    for (const std::string method : {"GET", "POST"}) {
        ScriptedServer server;
        Browser browser;
        server.replies({{}, {.cut = ScriptedReply::Cut::beforeHeaders}, {.status = 204}});
        browser.send({.method = "GET", .url = server.url()});

        const std::string outcome = browser.outcome({.method = method, .url = server.url()});

        EXPECT_EQ(outcome, method == "GET" ? "204"
                                           : "The connection to the server was lost: "
                                             "Server returned nothing (no headers, no data)");
        EXPECT_EQ(server.requests().size(), method == "GET" ? 3U : 2U);
    }
}

TEST(CurlTransport, CancellingCutsTheConnectionAndSticks) {
    ScriptedServer server;
    Browser browser;
    server.reply({.isHeld = true});
    std::string outcomes;
    const async::TaskHandle task = async::spawn(browser.pool.executor(), [&]() -> async::Task<> {
        for (int time = 0; time < 2; ++time) {
            try {
                HttpRequest request{.method = "GET", .url = server.url()};
                static_cast<void>(co_await browser.curl.transport().send(std::move(request)));
            } catch (const async::Cancelled&) {
                outcomes += "cancelled ";
            }
        }
    });
    server.waitForRequests(1);
    task.cancel();
    task.waitBlocking();
    server.waitForHangUps(1);
    EXPECT_EQ(outcomes, "cancelled cancelled ");
    EXPECT_EQ(server.requests().size(), 1U);
}

// A coroutine that is left suspended, as at the end of the process; its frame goes with the test.
struct LeftBehind {
    struct promise_type {
        struct {
            async::Executor executor;
            std::stop_token* stop = nullptr;
        } state;
        std::stop_token token;
        promise_type() { state.stop = &token; }
        LeftBehind get_return_object() { return {std::coroutine_handle<promise_type>::from_promise(*this)}; }
        std::suspend_never initial_suspend() const noexcept { return {}; }
        std::suspend_never final_suspend() const noexcept { return {}; }
        void return_void() const noexcept {}
        void unhandled_exception() const noexcept { std::terminate(); }
    };
    std::coroutine_handle<promise_type> coroutine;
};

LeftBehind sendAndForget(HttpTransport transport, HttpRequest request) {
    static_cast<void>(co_await transport.send(std::move(request)));
    ADD_FAILURE() << "a dropped exchange went on";
}

TEST(CurlTransport, ClosingLeavesExchangesAsTheyAre) {
    ScriptedServer server;
    Browser browser;
    server.reply({.isHeld = true});
    const HttpRequest request{.method = "GET", .url = server.url()};
    const LeftBehind underWay = sendAndForget(browser.curl.transport(), request);
    server.waitForRequests(1);

    browser.curl.close(); // would take a minute if it waited for the server
    const LeftBehind late = sendAndForget(browser.curl.transport(), request);

    server.waitForHangUps(1);
    EXPECT_EQ(server.requests().size(), 1U);
    underWay.coroutine.destroy();
    late.coroutine.destroy();
}

} // namespace
} // namespace platform::testing
