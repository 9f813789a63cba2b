#include "HostedFixture.h"

#include <algorithm>
#include <thread>

namespace veskline::testing {
namespace {

using SupabaseHTTPClientIngestStatus = HostedFixture;
using namespace std::chrono;

const std::string unfinished = "HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\n[";

ScriptedReply counted(const char* range) {
    return {.status = 206, .headers = {{"content-range", range}}};
}

struct FiveReplies {
    ScriptedReply queued = counted("0-0/57");
    ScriptedReply running = counted("*/0");
    ScriptedReply errors = counted("0-0/3");
    ScriptedReply oldest = {.body = R"([{"created_at": "2024-05-01T10:20:30.5+00:00"}])"};
    ScriptedReply last = {.body = "[]"};

    void scriptFor(ScriptedServer& server) const {
        server.replyTo("jobs?status=eq.queued", queued);
        server.replyTo("jobs?status=eq.running", running);
        server.replyTo("jobs?status=eq.error", errors);
        server.replyTo("order=created_at", oldest);
        server.replyTo("order=ingested_at", last);
    }
};

TEST_F(SupabaseHTTPClientIngestStatus, ReadsFiveThingsAtOnce) {
    const std::string count = authorized + " | Prefer: count=exact | Range-Unit: items | Range: 0-0";
    const Lines expected{
        "GET /rest/v1/files?select=ingested_at&ingested_at=not.is.null&order=ingested_at.desc&limit=1" + authorized,
        "GET /rest/v1/jobs?select=created_at&status=eq.queued&order=created_at.asc&limit=1" + authorized,
        "GET /rest/v1/jobs?status=eq.error" + count, "GET /rest/v1/jobs?status=eq.queued" + count,
        "GET /rest/v1/jobs?status=eq.running" + count};
    FiveReplies().scriptFor(server);

    const IngestStatusSnapshot status = run([&] { return client.fetchIngestStatus(); });

    const Time oldest = sys_days(2024y / May / 1) + 10h + 20min + 30s + 500ms;
    EXPECT_EQ(status, (IngestStatusSnapshot{.queued = 57, .running = 0, .errors = 3, .oldestQueuedAt = oldest}));
    Lines lines = sent();
    std::ranges::sort(lines);
    EXPECT_EQ(lines, expected);
}

TEST_F(SupabaseHTTPClientIngestStatus, CountsByTheHeaderElseByTheRows) {
    const std::tuple<Headers, const char*, std::string> cases[] = {
        {{{"Content-Range", "57"}}, "", "57"},
        {{{"CONTENT-RANGE", "0-0/12//"}}, "", "12"},
        {{{"Content-Range", "0-0/*"}}, "[5]", "1"},
        {{{"Content-Range", "0-0/*"}}, "[]", "0"},
        {{{"Content-Range", "0-0/"}}, R"([{"id": 1}])", "1"},
        {{{"Content-Range", "/"}}, "[null, {}]", "2"},
        {{}, R"({"message": "no rows"})", "no rows"},
        {{}, "5", "The document is not a list"},
    };
    for (const auto& [headers, body, count] : cases) {
        FiveReplies({.queued = {.body = body, .headers = headers}}).scriptFor(server);
        std::string counted;
        const std::string words = failure([&]() -> async::Task<> {
            const IngestStatusSnapshot status = co_await client.fetchIngestStatus();
            counted = std::to_string(status.queued);
        });
        EXPECT_EQ(counted.empty() ? words : counted, count) << body;
    }
}

TEST_F(SupabaseHTTPClientIngestStatus, TakesADateThatIsNotThereForNone) {
    FiveReplies replies;
    replies.oldest.body = R"([{"created_at": null}])";
    replies.last.body = R"([{"ingested_at": "2024-05-01T00:00:00Z"}])";
    replies.scriptFor(server);
    const IngestStatusSnapshot status = run([&] { return client.fetchIngestStatus(); });
    EXPECT_EQ(status.oldestQueuedAt, std::nullopt);
    EXPECT_EQ(status.lastIngestedAt, sys_days(2024y / May / 1));

    replies.last.body = R"([{"ingested_at": "2024-05-01"}])";
    replies.scriptFor(server);
    EXPECT_EQ(failure([&] { return client.fetchIngestStatus(); }), "Invalid Supabase date: 2024-05-01");
}

// The last read fails first; the second one, whose failure counts, only when all five are under way.
TEST_F(SupabaseHTTPClientIngestStatus, FailsAsTheEarliestReadDoesAndCutsTheOthers) {
    FiveReplies replies{.errors = {.raw = unfinished}, .oldest = {.raw = unfinished}, .last = {.status = 500}};
    replies.running = {.status = 403, .isHeld = true};
    replies.scriptFor(server);
    std::string words;
    std::thread reader([&] { words = failure([&] { return client.fetchIngestStatus(); }); });
    server.waitForRequests(5);
    server.release();
    reader.join();
    EXPECT_EQ(words, "Supabase request failed with status 403");
    server.waitForHangUps(2);
}

} // namespace
} // namespace veskline::testing
