#include "HostedFixture.h"

namespace veskline::testing {
namespace {

using SupabaseHTTPClientRemoteFiles = HostedFixture;

// What an upload sends from its first to its last request is compared end to end.
TEST_F(SupabaseHTTPClientRemoteFiles, AreKnownByTheirKeyAndOwnedByWhomTheServiceNames) {
    server.replies({{.body = "ignored"},
                    {.body = R"({"id": "u"})"},
                    {.status = 201, .body = R"([{"id": "f", "ingested_sha256": "abc"}, {"id": "g"}])"},
                    {.body = R"([{"id": "f", "is_deleted": true, "bytes": 5368709121}])"},
                    {.status = 204}});
    const std::string path = folder.write("notes.txt", "content");
    run([&] { return client.uploadFile(path, "a é%41?#&+.txt", "text/plain"); });
    EXPECT_EQ(run([&] { return client.upsertRemoteFile("a/é.txt", "user-u/é", 5, "text/plain", "abc"); }),
              (RemoteFileRecord{.id = "f", .ingestedSHA256 = "abc"}));
    EXPECT_EQ(run([&] { return client.fetchRemoteFile("user-u/a b+c,(d)&e=é.txt"); }),
              (RemoteFileRecord{.id = "f", .isDeleted = true, .bytes = 5368709121}));
    run([&] { return client.markFileDeleted("f"); });

    EXPECT_EQ(server.requests()[0].line(), "POST /storage/v1/object/files/a%20%C3%A9%2541%3F%23&+.txt");
    EXPECT_TRUE(sent()[2].ends_with(R"("storage_key":"user-u/é","user_id":"u"})")) << sent()[2];
    EXPECT_EQ(sent()[3], "GET /rest/v1/files?" + columns +
                             "&storage_key=eq.user-u/a%20b%2Bc,(d)%26e%3D%C3%A9.txt&limit=1" + authorized);
    EXPECT_EQ(sent()[4], "PATCH /rest/v1/files?id=eq.f" + authorized + json + R"({"is_deleted":true})");
}

TEST_F(SupabaseHTTPClientRemoteFiles, MayBeMissingOnEitherSide) {
    server.replies({{.body = "[]"}, {.body = R"({"id": "u"})"}, {.body = "[]"}});
    EXPECT_EQ(run([&] { return client.fetchRemoteFile("key"); }), std::nullopt);
    EXPECT_EQ(failure([&] { return client.upsertRemoteFile("a", "key", 5, "text/plain", "abc"); }),
              "Invalid Supabase response");
    const std::string missing = folder.at("missing");
    EXPECT_EQ(failure([&] { return client.uploadFile(missing, "key", "text/plain"); }),
              "The file \"" + missing + "\" could not be opened: No such file or directory");
    EXPECT_EQ(server.requests().size(), 3U);
}

} // namespace
} // namespace veskline::testing
