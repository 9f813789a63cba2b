#include "HostedFixture.h"

#include <map>

namespace veskline::testing {
namespace {

using namespace std::chrono;

class SupabaseHTTPClientIngestStatus : public HostedFixture {
protected:
    void script() {
        for (const auto& [part, reply] : replies) {
            server.replyTo(part, reply);
        }
    }
    static ScriptedReply counted(const char* range) { return {.status = 206, .headers = {{"content-range", range}}}; }

    std::map<std::string, ScriptedReply> replies{
        {"jobs?status=eq.queued", counted("0-0/57")},
        {"jobs?status=eq.running", counted("*/0")},
        {"jobs?status=eq.error", counted("0-0/3")},
        {"order=created_at", {.body = R"([{"created_at": "2024-05-01T10:20:30.5+00:00"}])"}},
        {"order=ingested_at", {.body = "[]"}}};
};

TEST_F(SupabaseHTTPClientIngestStatus, ReadsFiveThingsAtOnce) {
    std::ranges::for_each(replies, [](auto& entry) { entry.second.isHeld = true; });
    script();
    IngestStatusSnapshot status;
    const async::TaskHandle reading =
        async::spawn(pool.executor(), [&]() -> async::Task<> { status = co_await client.fetchIngestStatus(); });
    server.waitForRequests(5);
    server.release();
    reading.waitBlocking();

    const Time oldest = sys_days(2024y / May / 1) + 10h + 20min + 30s + 500ms;
    EXPECT_EQ(status, (IngestStatusSnapshot{.queued = 57, .running = 0, .errors = 3, .oldestQueuedAt = oldest}));
    const std::string count = authorized + " | Prefer: count=exact | Range-Unit: items | Range: 0-0";
    const Lines expected{
        "GET /rest/v1/files?select=ingested_at&ingested_at=not.is.null&order=ingested_at.desc&limit=1" + authorized,
        "GET /rest/v1/jobs?select=created_at&status=eq.queued&order=created_at.asc&limit=1" + authorized,
        "GET /rest/v1/jobs?status=eq.error" + count, "GET /rest/v1/jobs?status=eq.queued" + count,
        "GET /rest/v1/jobs?status=eq.running" + count};
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
        replies["jobs?status=eq.queued"] = {.body = body, .headers = headers};
        script();
        std::string counted;
        const std::string words = failure([&]() -> async::Task<> {
            const IngestStatusSnapshot status = co_await client.fetchIngestStatus();
            counted = std::to_string(status.queued);
        });
        EXPECT_EQ(counted.empty() ? words : counted, count) << body;
    }
}

TEST_F(SupabaseHTTPClientIngestStatus, TakesADateThatIsNotThereForNone) {
    replies["order=created_at"].body = R"([{"created_at": null}])";
    replies["order=ingested_at"].body = R"([{"ingested_at": "2024-05-01T00:00:00Z"}])";
    script();
    const IngestStatusSnapshot status = run([&] { return client.fetchIngestStatus(); });
    EXPECT_EQ(status.oldestQueuedAt, std::nullopt);
    EXPECT_EQ(status.lastIngestedAt, sys_days(2024y / May / 1));

    replies["order=ingested_at"].body = R"([{"ingested_at": "2024-05-01"}])";
    script();
    EXPECT_EQ(failure([&] { return client.fetchIngestStatus(); }), "Invalid Supabase date: 2024-05-01");
}

} // namespace
} // namespace veskline::testing
