#include "HostedFixture.h"
#include "platform/async/Cancelled.h"

namespace veskline::testing {
namespace {

using SupabaseHTTPClientRequests = HostedFixture;

TEST_F(SupabaseHTTPClientRequests, JudgeAResponseByItsStatusAndOnlyThenByItsBody) {
    const std::pair<ScriptedReply, std::string> cases[] = {
        {{.cut = ScriptedReply::Cut::beforeHeaders}, "The connection to the server was lost: Empty reply from server"},
        {{.status = 206, .body = "[]"}, "no failure"},
        {{.status = 204}, "The text is not valid JSON: error in line 1, column 1"},
        {{.status = 400, .body = R"({"message": "why"})"}, "Supabase request failed with status 400"},
        {{.status = 403}, "Supabase request failed with status 403"},
        {{.status = 304}, "Supabase request failed with status 304"},
        {{.status = 200, .body = R"({"message": "why"})"}, "why"},
        {{.status = 200, .body = R"({"message": 5})"}, "The document is not a list"},
        {{.status = 200, .body = R"([{"id": null}])"}, "The value of \"[0].id\" is missing"},
        {{.raw = "220 mail.example ESMTP\r\n"}, "Invalid Supabase response"},
    };
    for (const auto& [reply, words] : cases) {
        server.reply(reply);
        EXPECT_EQ(fetchFailure(), words);
    }
    EXPECT_EQ(server.requests().size(), std::size(cases)); // nothing was tried again
}

TEST_F(SupabaseHTTPClientRequests, SendNothingWithoutASessionOrAnAddress) {
    SupabaseHTTPClient nowhere{{.supabaseURL = "nowhere"}, sessionStore, curl.transport(), pool.executor()};
    EXPECT_EQ(failure([&] { return nowhere.fetchRemoteFile("key"); }), "Invalid Supabase URL");
    run([&] { return sessionStore.clear(); });
    EXPECT_EQ(fetchFailure(), "Not authenticated");
    EXPECT_TRUE(server.requests().empty());
}

TEST_F(SupabaseHTTPClientRequests, RepeatTheWholeWorkWithTheSessionThatTheRefreshGave) {
    const ScriptedReply user{.body = R"({"id": "u"})"};
    server.replies({user, {.status = 401}, {.body = renewed("new"), .isHeld = true}, user, {.status = 201}});
    const async::TaskHandle job =
        async::spawn(pool.executor(), [&]() -> async::Task<> { co_await client.insertJob("f", "ingest"); });
    server.waitForRequests(3);
    store(session("other")); // not what the second run is to use
    server.release();
    job.waitBlocking();

    const std::string row = json + R"({"file_id":"f","kind":"ingest","payload":{},"user_id":"u"})";
    const std::string renewed = " | Authorization: Bearer new";
    EXPECT_EQ(sent(),
              (Lines{"GET /auth/v1/user" + authorized, "POST /rest/v1/jobs" + authorized + row,
                     "POST /auth/v1/token?grant_type=refresh_token" + json + R"({"refresh_token":"old-refresh"})",
                     "GET /auth/v1/user" + renewed, "POST /rest/v1/jobs" + renewed + row}));
    EXPECT_EQ(stored(), session("new"));
    EXPECT_EQ(server.requests().back().connection, 1);
}

TEST_F(SupabaseHTTPClientRequests, RefreshOnceAtMost) {
    server.replies({{.status = 401}, {.body = renewed("new")}, {.status = 401}});
    EXPECT_EQ(fetchFailure(), "Supabase session is unauthorized");
    EXPECT_EQ(server.requests().size(), 3U);

    server.replies({{.status = 401}, {.status = 400}});
    EXPECT_EQ(fetchFailure(), "Supabase request failed with status 400");
    EXPECT_EQ(server.requests().size(), 5U);
    EXPECT_EQ(stored(), session("new"));
}

TEST_F(SupabaseHTTPClientRequests, EndOnTheWireWhenCancelledAndAreNotSentThereafter) {
    server.reply({.isHeld = true});
    std::string outcomes;
    const async::TaskHandle task = async::spawn(pool.executor(), [&]() -> async::Task<> {
        for (int time = 0; time < 2; ++time) {
            try {
                co_await client.fetchRemoteFile("key");
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
    EXPECT_EQ(server.requests().size(), 1U); // no refresh
}

} // namespace
} // namespace veskline::testing
