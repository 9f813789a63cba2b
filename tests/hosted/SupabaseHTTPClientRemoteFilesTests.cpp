#include "HostedFixture.h"

namespace veskline::testing {
namespace {

constexpr const char* columns =
    "id,user_id,storage_bucket,storage_key,sha256,ingested_sha256,is_deleted,path,bytes,mime,ingest_error";

using SupabaseHTTPClientRemoteFiles = HostedFixture;

// What came beside the headers that every request has.
Headers particularHeaders(const RecordedRequest& request) {
    Headers headers = request.headers;
    std::erase_if(headers, [](const auto& header) {
        return header.first == "Host" || header.first == "apikey" || header.first == "accept" ||
               header.first == "Authorization" || header.first == "Content-Length";
    });
    return headers;
}

TEST_F(SupabaseHTTPClientRemoteFiles, UploadsTheBytesOfTheFileUnderItsKey) {
    const std::string path = folder.write("notes.txt", "content");
    server.reply({.body = "ignored"});
    server.reply({});
    run([&] { return client.uploadFile(path, "user-u/root-a1/Notes_2.v-1.txt", "text/plain"); });
    run([&] { return client.uploadFile(path, "user-u/a é%41?#&+.txt", "text/plain"); });

    EXPECT_EQ(server.lines(),
              (std::vector<std::string>{"POST /storage/v1/object/files/user-u/root-a1/Notes_2.v-1.txt",
                                        "POST /storage/v1/object/files/user-u/a%20%C3%A9%2541%3F%23&+.txt"}));
    EXPECT_EQ(server.requests().at(0).body, "content");
    const Headers headers{{"content-type", "text/plain"}, {"cache-control", "max-age=3600"}, {"x-upsert", "true"}};
    EXPECT_EQ(particularHeaders(server.requests().at(0)), headers);
    EXPECT_EQ(tokens(), "Bearer old, Bearer old, ");
}

TEST_F(SupabaseHTTPClientRemoteFiles, UploadsTheWholeFileAgainAfterARefresh) {
    const std::string path = folder.write("notes.txt", "content");
    server.reply({.status = 401});
    server.reply({.body = renewed("new")});
    server.reply({});
    run([&] { return client.uploadFile(path, "key", "text/plain"); });
    EXPECT_EQ(server.requests().at(2).body, "content");
    EXPECT_EQ(failure([&] { return client.uploadFile(path + "x", "key", "text/plain"); }),
              "The file \"" + path + "x\" could not be opened: No such file or directory");
    EXPECT_EQ(server.requests().size(), 3U);
}

TEST_F(SupabaseHTTPClientRemoteFiles, UpsertsARowOfTheUserThatTheServiceNames) {
    server.reply({.body = R"({"id": "u"})"});
    server.reply({.status = 201, .body = R"([{"id": "f", "ingested_sha256": "abc"}, {"id": "g"}])"});

    const auto upsert = [&] { return client.upsertRemoteFile("a/é.txt", "user-u/é", 5, "text/plain", "abc"); };

    EXPECT_EQ(run(upsert), (RemoteFileRecord{.id = "f", .ingestedSHA256 = "abc"}));

    EXPECT_EQ(server.lines(), (std::vector<std::string>{
                                  "GET /auth/v1/user",
                                  std::string("POST /rest/v1/files?on_conflict=user_id,storage_bucket,storage_key") +
                                      "&select=" + columns}));
    const Headers headers{{"Prefer", "resolution=merge-duplicates,return=representation"},
                          {"content-type", "application/json"}};
    EXPECT_EQ(particularHeaders(server.requests().at(1)), headers);
    const nlohmann::json row{{"user_id", "u"},
                             {"path", "a/é.txt"},
                             {"storage_bucket", "files"},
                             {"storage_key", "user-u/é"},
                             {"bytes", 5},
                             {"mime", "text/plain"},
                             {"sha256", "abc"},
                             {"is_deleted", false},
                             {"ingest_error", nullptr}};
    EXPECT_EQ(sentBody(1), row);
}

TEST_F(SupabaseHTTPClientRemoteFiles, TakesNoRowBackForAFailure) {
    server.reply({.body = R"({"id": "u"})"});
    server.reply({.body = "[]"});
    EXPECT_EQ(failure([&] { return client.upsertRemoteFile("a", "k", 1, "m", "s"); }), "Invalid Supabase response");
}

TEST_F(SupabaseHTTPClientRemoteFiles, FetchesARowDeletedOrNot) {
    server.reply({.body = R"([{"id": "f", "is_deleted": true, "bytes": 5368709121}])"});
    server.reply({.body = "[]"});
    const auto fetch = [&] { return client.fetchRemoteFile("user-u/a b+c,(d)&e=é.txt"); };
    EXPECT_EQ(run(fetch), (RemoteFileRecord{.id = "f", .isDeleted = true, .bytes = 5368709121}));
    EXPECT_EQ(run(fetch), std::nullopt);
    EXPECT_EQ(server.requests().at(0).line(), std::string("GET /rest/v1/files?select=") + columns +
                                                  "&storage_key=eq.user-u/a%20b%2Bc,(d)%26e%3D%C3%A9.txt&limit=1");
}

TEST_F(SupabaseHTTPClientRemoteFiles, MarksARowDeleted) {
    server.reply({.status = 204});
    run([&] { return client.markFileDeleted("f"); });
    EXPECT_EQ(server.requests().at(0).line(), "PATCH /rest/v1/files?id=eq.f");
    EXPECT_EQ(server.requests().at(0).body, R"({"is_deleted":true})");
    EXPECT_EQ(particularHeaders(server.requests().at(0)), (Headers{{"content-type", "application/json"}}));
}

TEST_F(SupabaseHTTPClientRemoteFiles, InsertsAJobOfTheUserThatTheServiceNames) {
    server.reply({.body = R"({"id": "u"})"});
    server.reply({.status = 201});
    run([&] { return client.insertJob("f", "delete"); });
    EXPECT_EQ(server.lines(), (std::vector<std::string>{"GET /auth/v1/user", "POST /rest/v1/jobs"}));
    const nlohmann::json row{
        {"user_id", "u"}, {"file_id", "f"}, {"kind", "delete"}, {"payload", nlohmann::json::object()}};
    EXPECT_EQ(sentBody(1), row);
    EXPECT_EQ(particularHeaders(server.requests().at(1)), (Headers{{"content-type", "application/json"}}));
    EXPECT_EQ(server.requests().at(1).connection, 1);
}

} // namespace
} // namespace veskline::testing
