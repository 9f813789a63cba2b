#include "HostedFixture.h"

namespace veskline::testing {
namespace {

using SupabaseHTTPClientFailedUploads = HostedFixture;
using namespace std::chrono;

TEST_F(SupabaseHTTPClientFailedUploads, JoinsJobsWithTheirFilesInTheOrderOfTheJobs) {
    server.replies({{.body = R"([{"id": "4", "file_id": "b", "error": "bad", "created_at": "2024-05-01T00:00:00+00:00"},
                              {"id": "3", "file_id": "a"}, {"id": "2", "file_id": "gone"},
                              {"id": "1", "file_id": "b", "error": null}, {"id": "0", "file_id": null}])"},
                    {.body = R"([{"id": "a", "path": "a.txt"}, {"id": "b", "path": "b.txt"}])"}});

    const auto items = run([&] { return client.fetchFailedUploads(); });

    const RemoteFileRecord a{.id = "a", .path = "a.txt"};
    const RemoteFileRecord b{.id = "b", .path = "b.txt"};
    const Time created = sys_days(2024y / May / 1);
    const std::vector<FailedUploadItem> expected{
        {.id = "4", .fileID = "b", .error = "bad", .createdAt = created, .file = b},
        {.id = "3", .fileID = "a", .file = a},
        {.id = "2", .fileID = "gone"},
        {.id = "1", .fileID = "b", .file = b},
        {.id = "0"}};
    EXPECT_EQ(items, expected);
    const std::string jobs = "GET /rest/v1/jobs?select=id,file_id,error,created_at&status=eq.error&kind=eq.ingest"
                             "&order=created_at.desc&limit=100" +
                             authorized;
    EXPECT_EQ(sent(), (Lines{jobs, "GET /rest/v1/files?" + columns + "&id=in.(a,b,gone)" + authorized}));
}

TEST_F(SupabaseHTTPClientFailedUploads, BringsTheLimitIntoItsBoundsAndNeedsNoFilesWhereNoJobHasOne) {
    const std::pair<std::int64_t, std::string> cases[] = {{0, "1"}, {-7, "1"}, {1, "1"}, {200, "200"}, {500, "200"}};
    for (const auto& [limit, bounded] : cases) {
        server.reply({.body = R"([{"id": "1"}])"});
        EXPECT_EQ(run([&] { return client.fetchFailedUploads(limit); }), (std::vector<FailedUploadItem>{{.id = "1"}}));
        EXPECT_TRUE(sent().back().ends_with("&limit=" + bounded + authorized)) << limit;
    }
    server.replies({{.body = R"([{"id": "1"}])"}, {.status = 204}, {.body = "[]"}});
    EXPECT_EQ(run([&] { return client.retryFailedUploads(); }), 1);
    EXPECT_EQ(run([&] { return client.retryFailedUploads(); }), 0);
    EXPECT_EQ(server.requests().size(), std::size(cases) + 3);
}

TEST_F(SupabaseHTTPClientFailedUploads, PutsTheJobsBackAndThenClearsTheirFiles) {
    const ScriptedReply jobs{
        .body = R"([{"id": "2", "file_id": "f"}, {"id": "1", "file_id": "f"}, {"id": "3", "file_id": "e"}])"};
    server.replies({jobs, {.status = 204}, {.status = 204}, jobs, {.status = 409}});

    EXPECT_EQ(run([&] { return client.retryFailedUploads(); }), 3);
    EXPECT_EQ(failure([&] { return client.retryFailedUploads(); }), "Supabase request failed with status 409");

    const std::string patch = authorized + " | Prefer: return=minimal" + json;
    const std::string read = "GET /rest/v1/jobs?select=id,file_id&status=eq.error&kind=eq.ingest" + authorized;
    const std::string requeue =
        "PATCH /rest/v1/jobs?id=in.(1,2,3)" + patch + R"({"attempts":0,"error":null,"status":"queued"})";
    const std::string clear = "PATCH /rest/v1/files?id=in.(e,f)" + patch + R"({"ingest_error":null})";
    EXPECT_EQ(sent(), (Lines{read, requeue, clear, read, requeue}));
}

} // namespace
} // namespace veskline::testing
