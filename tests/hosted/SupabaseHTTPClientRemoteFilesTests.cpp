#include "HostedFixture.h"

namespace veskline::testing {
namespace {

using SupabaseHTTPClientRemoteFiles = HostedFixture;

const std::string authorized = " | Authorization: Bearer old";
const std::string columns =
    "select=id,user_id,storage_bucket,storage_key,sha256,ingested_sha256,is_deleted,path,bytes,mime,ingest_error";

TEST_F(SupabaseHTTPClientRemoteFiles, UploadsTheBytesOfTheFileUnderItsKey) {
    const std::string path = folder.write("notes.txt", "content");
    server.replies({{.body = "ignored"}, {.status = 401}, {.body = renewed("new")}, {}});
    run([&] { return client.uploadFile(path, "user-u/root-a1/Notes_2.v-1.txt", "text/plain"); });
    run([&] { return client.uploadFile(path, "a é%41?#&+.txt", "text/plain"); });

    const std::string rest = " | content-type: text/plain | cache-control: max-age=3600 | x-upsert: true | content";
    EXPECT_EQ(sent().at(0), "POST /storage/v1/object/files/user-u/root-a1/Notes_2.v-1.txt" + authorized + rest);
    EXPECT_EQ(sent().at(1), "POST /storage/v1/object/files/a%20%C3%A9%2541%3F%23&+.txt" + authorized + rest);
    EXPECT_TRUE(sent().at(3).ends_with(" | Authorization: Bearer new" + rest));
    EXPECT_EQ(failure([&] { return client.uploadFile(path + "x", "key", "text/plain"); }),
              "The file \"" + path + "x\" could not be opened: No such file or directory");
    EXPECT_EQ(sent().size(), 4U);
}

TEST_F(SupabaseHTTPClientRemoteFiles, UpsertsARowOfTheUserThatTheServiceNames) {
    const ScriptedReply user{.body = R"({"id": "u"})"};
    server.replies({user, {.status = 201, .body = R"([{"id": "f", "ingested_sha256": "abc"}, {"id": "g"}])"}});
    server.replies({user, {.body = "[]"}});
    const auto upsert = [&] { return client.upsertRemoteFile("a/é.txt", "user-u/é", 5, "text/plain", "abc"); };

    EXPECT_EQ(run(upsert), (RemoteFileRecord{.id = "f", .ingestedSHA256 = "abc"}));
    EXPECT_EQ(failure(upsert), "Invalid Supabase response");

    EXPECT_EQ(sent().at(0), "GET /auth/v1/user" + authorized);
    EXPECT_EQ(sent().at(1), "POST /rest/v1/files?on_conflict=user_id,storage_bucket,storage_key&" + columns +
                                authorized +
                                " | Prefer: resolution=merge-duplicates,return=representation"
                                " | content-type: application/json"
                                R"( | {"bytes":5,"ingest_error":null,"is_deleted":false,"mime":"text/plain",)"
                                R"("path":"a/é.txt","sha256":"abc","storage_bucket":"files",)"
                                R"("storage_key":"user-u/é","user_id":"u"})");
}

TEST_F(SupabaseHTTPClientRemoteFiles, FetchesARowDeletedOrNot) {
    server.replies({{.body = R"([{"id": "f", "is_deleted": true, "bytes": 5368709121}])"}, {.body = "[]"}});
    const auto fetch = [&] { return client.fetchRemoteFile("user-u/a b+c,(d)&e=é.txt"); };
    EXPECT_EQ(run(fetch), (RemoteFileRecord{.id = "f", .isDeleted = true, .bytes = 5368709121}));
    EXPECT_EQ(run(fetch), std::nullopt);
    EXPECT_EQ(sent().at(0), "GET /rest/v1/files?" + columns +
                                "&storage_key=eq.user-u/a%20b%2Bc,(d)%26e%3D%C3%A9.txt&limit=1" + authorized);
}

TEST_F(SupabaseHTTPClientRemoteFiles, MarksARowDeleted) {
    server.reply({.status = 204});
    run([&] { return client.markFileDeleted("f"); });
    EXPECT_EQ(sent(), Lines{"PATCH /rest/v1/files?id=eq.f" + authorized +
                            R"( | content-type: application/json | {"is_deleted":true})"});
}

} // namespace
} // namespace veskline::testing
