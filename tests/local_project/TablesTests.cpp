#include "local_project/ProjectFixture.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

namespace local_project {

using nlohmann::json;

namespace {

class TablesTest : public ProjectFixture {
protected:
    TablesTest() { options_.worker = WorkerPolicy::off; }

    json read(const std::string& target) { return send("GET", "/rest/v1/" + target).json(); }

    // The values of one column in the order in which the rows come.
    std::vector<std::string> column(const std::string& name, const std::string& target) {
        std::vector<std::string> values;
        for (const json& row : read(target)) {
            values.push_back(row[name]);
        }
        return values;
    }
};

TEST_F(TablesTest, SelectsFiltersAndOrders) {
    run();
    const std::string first = addFile("b/one.txt");
    const std::string second = addFile("a,two.txt");
    send("PATCH", "/rest/v1/files?id=eq." + second,
         R"({"is_deleted":true,"bytes":70,"ingested_at":"2024-05-01T10:20:30.5Z"})");
    using Keys = std::vector<std::string>;
    const std::vector<std::pair<std::string, Keys>> cases = {
        {"", {"b/one.txt", "a,two.txt"}},
        {"order=storage_key.asc", {"a,two.txt", "b/one.txt"}},
        {"order=ingested_at.desc", {"b/one.txt", "a,two.txt"}},
        {"order=ingested_at.desc.nullslast", {"a,two.txt", "b/one.txt"}},
        {"order=bytes.desc&limit=1", {"a,two.txt"}},
        {"offset=1", {"a,two.txt"}},
        {"storage_key=eq.a,two.txt", {"a,two.txt"}},
        {"storage_key=in.(\"a,two.txt\",none)", {"a,two.txt"}},
        {"id=in.(" + first + "," + second + ")", {"b/one.txt", "a,two.txt"}},
        {"id=in.()", {}},
        {"ingested_at=not.is.null", {"a,two.txt"}},
        {"ingested_at=is.null", {"b/one.txt"}},
        {"ingested_at=eq.2024-05-01T10:20:30.500000%2B00:00", {"a,two.txt"}},
        {"is_deleted=is.true", {"a,two.txt"}},
        {"is_deleted=eq.false&bytes=lt.70", {"b/one.txt"}},
        {"bytes=not.in.(5,6)", {"a,two.txt"}},
    };
    for (const auto& [query, keys] : cases) {
        EXPECT_EQ(column("storage_key", "files?select=storage_key&" + query), keys) << query;
    }
    EXPECT_EQ(read("files?select=bytes,id&limit=1"), (json::array({{{"bytes", 5}, {"id", first}}})));
    EXPECT_EQ(read("files?limit=1")[0].size(), 14U);
}

TEST_F(TablesTest, CountsInTheContentRange) {
    run();
    const std::map<std::string, std::string> counting = {
        {"Prefer", "count=exact"}, {"Range-Unit", "items"}, {"Range", "0-0"}};
    const Reply none = send("GET", "/rest/v1/jobs?status=eq.queued", {}, counting);
    EXPECT_EQ(none.status, 200);
    EXPECT_EQ(none.headers.at("Content-Range"), "*/0");
    const std::string file = addFile("a.txt");
    for (int job = 0; job < 3; ++job) {
        EXPECT_EQ(addJob(file, "ingest").status, 201);
    }
    const Reply three = send("GET", "/rest/v1/jobs?status=eq.queued", {}, counting);
    EXPECT_EQ(three.status, 206);
    EXPECT_EQ(three.headers.at("Content-Range"), "0-0/3");
    EXPECT_EQ(three.json().size(), 1U);
}

TEST_F(TablesTest, MergesADuplicateAndKeepsWhatWasLeftOut) {
    run();
    const std::string id = addFile("a.txt");
    send("PATCH", "/rest/v1/files?id=eq." + id, R"({"ingested_sha256":"old","is_deleted":true,"ingest_error":"bad"})",
         {{"Prefer", "return=minimal"}});
    advance(std::chrono::seconds(5));
    EXPECT_EQ(addFile("a.txt"), id);
    const json row = only("files");
    EXPECT_EQ(row["ingested_sha256"], "old");
    EXPECT_EQ(row["is_deleted"], false);
    EXPECT_EQ(row["ingest_error"], nullptr);
    EXPECT_EQ(row["created_at"], "2024-05-01T10:20:30.000000+00:00");
    EXPECT_EQ(row["updated_at"], "2024-05-01T10:20:35.000000+00:00");
}

TEST_F(TablesTest, AnswersAsPreferred) {
    run();
    const std::string id = addFile("a.txt");
    const std::string row = fmt::format(R"({{"user_id":"{}","file_id":"{}","kind":"ingest"}})", userId_, id);
    const Reply silent = send("POST", "/rest/v1/jobs", row);
    EXPECT_EQ(silent.status, 201);
    EXPECT_EQ(silent.body, "");
    const Reply shown =
        send("POST", "/rest/v1/jobs", "[" + row + "," + row + "]", {{"Prefer", "return=representation"}});
    EXPECT_EQ(shown.status, 201);
    EXPECT_EQ(shown.json()[1]["status"], "queued");
    EXPECT_EQ(shown.json()[1]["attempts"], 0);
    EXPECT_EQ(shown.json()[1]["payload"], json::object());
    EXPECT_EQ(send("PATCH", "/rest/v1/files?id=eq." + id, R"({"is_deleted":true})").status, 204);
    const std::string nobody = "/rest/v1/files?id=eq.00000000-0000-4000-8000-000000000000";
    EXPECT_EQ(send("PATCH", nobody, R"({"is_deleted":true})").status, 204);
    EXPECT_EQ(send("PATCH", nobody, R"({"is_deleted":true})", {{"Prefer", "return=representation"}}).body, "[]");
}

TEST_F(TablesTest, RefusesWhatTheColumnsAndKeysDoNotAllow) {
    run();
    const std::string own = fmt::format(R"("user_id":"{}")", userId_);
    const std::string file = own + R"(,"path":"p","storage_bucket":"files","storage_key":)";
    addFile("taken");
    struct Case {
        std::string method, target, body;
        int status;
    };
    const std::vector<Case> cases = {
        {"GET", "files?select=id,colour", "", 400},
        {"GET", "files?colour=eq.red", "", 400},
        {"GET", "files?order=colour.asc", "", 400},
        {"GET", "files?id=eq.17", "", 400},
        {"GET", "files?bytes=eq.many", "", 400},
        {"GET", "files?path=resembles.x", "", 400},
        {"GET", "files?id=in.17", "", 400},
        {"GET", "files?limit=-1", "", 400},
        {"GET", "people", "", 404},
        {"DELETE", "files", "", 405},
        {"POST", "files", "[1]", 400},
        {"POST", "files", "no json", 400},
        {"POST", "files", "{" + file + R"("k","colour":1})", 400},
        {"POST", "files", "{" + file + R"("k","bytes":1.5})", 400},
        {"POST", "files", "{" + file + R"("k","is_deleted":"false"})", 400},
        {"POST", "files", "{" + file + R"(17})", 400},
        {"POST", "files", "{" + file + "null}", 400},
        {"POST", "files", R"({"path":"p","storage_bucket":"files","storage_key":"k"})", 400},
        {"POST", "files?on_conflict=path", "{" + file + R"("k"})", 400},
        {"POST", "files", "{" + file + R"("taken"})", 409},
        {"POST", "jobs", "{" + own + R"(,"kind":"ingest","file_id":"00000000-0000-4000-8000-000000000000"})", 409},
        {"POST", "jobs", "{" + own + R"(,"kind":"ingest","file_id":"17"})", 400},
        {"POST", "jobs", R"({"user_id":"00000000-0000-4000-8000-000000000000","kind":"ingest"})", 403},
        {"PATCH", "files", R"({"user_id":"00000000-0000-4000-8000-000000000000"})", 403},
        {"PATCH", "files", R"({"ingested_at":"yesterday"})", 400},
    };
    for (const Case& refused : cases) {
        const Reply reply = send(refused.method, "/rest/v1/" + refused.target, refused.body);
        EXPECT_EQ(reply.status, refused.status) << refused.target << " " << refused.body << " " << reply.body;
        EXPECT_TRUE(reply.json().contains("message"));
    }
    EXPECT_EQ(only("files")["storage_key"], "taken");
}

TEST_F(TablesTest, ShowsAndChangesOnesOwnRowsAlone) {
    run();
    const std::string id = addFile("a.txt");
    const json row = only("files");
    signIn("bob@example.com");
    EXPECT_EQ(read("files"), json::array());
    send("PATCH", "/rest/v1/files?id=eq." + id, R"({"is_deleted":true})");
    const json stolen = {
        {"id", id}, {"user_id", userId_}, {"path", "x"}, {"storage_bucket", "b"}, {"storage_key", "k"}};
    EXPECT_EQ(send("POST", "/rest/v1/files?on_conflict=id", stolen.dump(), {{"Prefer", "resolution=merge-duplicates"}})
                  .status,
              403);
    EXPECT_EQ(only("files"), row);
}

TEST_F(TablesTest, TakesAListOfThousandsOfIds) {
    run();
    const std::string file = addFile("a.txt");
    std::vector<std::string> ids(5000, file);
    const Reply reply =
        send("PATCH", fmt::format("/rest/v1/files?id=in.({})", fmt::join(ids, ",")), R"({"ingest_error":"seen"})");
    EXPECT_EQ(reply.status, 204);
    EXPECT_EQ(only("files")["ingest_error"], "seen");
}

} // namespace

} // namespace local_project
