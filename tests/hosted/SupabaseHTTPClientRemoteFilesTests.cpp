#include "HostedFixture.h"

namespace veskline::testing {
namespace {

using SupabaseHTTPClientRemoteFiles = HostedFixture;

TEST_F(SupabaseHTTPClientRemoteFiles, GoOverTheWireAsTheServiceReadsThem) {
    const std::string path = folder.write("notes.txt", "content");
    server.replyTo("POST /storage", {.body = "ignored"});
    server.replyTo("GET /auth", {.body = R"({"id": "u"})"});
    server.replyTo("POST /rest", {.status = 201, .body = R"([{"id": "f", "ingested_sha256": "abc"}, {"id": "g"}])"});
    server.replyTo("GET /rest", {.body = R"([{"id": "f", "is_deleted": true, "bytes": 5368709121}])"});
    server.replyTo("PATCH /rest", {.status = 204});

    run([&] { return client.uploadFile(path, "a é%41?#&+.txt", "text/plain"); });
    EXPECT_EQ(run([&] { return client.upsertRemoteFile("a/é.txt", "user-u/é", 5, "text/plain", "abc"); }),
              (RemoteFileRecord{.id = "f", .ingestedSHA256 = "abc"}));
    EXPECT_EQ(run([&] { return client.fetchRemoteFile("user-u/a b+c,(d)&e=é.txt"); }),
              (RemoteFileRecord{.id = "f", .isDeleted = true, .bytes = 5368709121}));
    run([&] { return client.markFileDeleted("f"); });

    const Lines expected{
        "POST /storage/v1/object/files/a%20%C3%A9%2541%3F%23&+.txt" + authorized +
            " | content-type: text/plain | cache-control: max-age=3600 | x-upsert: true | content",
        "GET /auth/v1/user" + authorized,
        "POST /rest/v1/files?on_conflict=user_id,storage_bucket,storage_key&" + columns + authorized +
            " | Prefer: resolution=merge-duplicates,return=representation" + json +
            R"({"bytes":5,"ingest_error":null,"is_deleted":false,"mime":"text/plain","path":"a/é.txt",)"
            R"("sha256":"abc","storage_bucket":"files","storage_key":"user-u/é","user_id":"u"})",
        "GET /rest/v1/files?" + columns + "&storage_key=eq.user-u/a%20b%2Bc,(d)%26e%3D%C3%A9.txt&limit=1" + authorized,
        "PATCH /rest/v1/files?id=eq.f" + authorized + json + R"({"is_deleted":true})"};
    EXPECT_EQ(sent(), expected);
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
