#include "local_project/ProjectFixture.h"

#include <fmt/ranges.h>

namespace local_project {

namespace {

class TablesTest : public ProjectFixture {
protected:
    TablesTest() { options_.worker = WorkerPolicy::off; }

    // The keys of the rows of `files` that a query selects, in their order.
    std::vector<std::string> keys(const std::string& query) {
        std::vector<std::string> values;
        for (const json& row : send("GET", "/rest/v1/files?select=storage_key&" + query).parsed()) {
            values.push_back(row["storage_key"]);
        }
        return values;
    }
};

TEST_F(TablesTest, SelectFilterAndOrder) {
    run();
    const std::string first = addFile("b/one.txt");
    const std::string second = addFile("a,two.txt");
    change("files?id=eq." + second, R"({"is_deleted":true,"bytes":70,"ingested_at":"2024-05-01T10:20:30.5Z"})");
    using Keys = std::vector<std::string>;
    const std::pair<std::string, Keys> cases[] = {
        {"", {"b/one.txt", "a,two.txt"}},
        {"order=ingested_at.desc", {"b/one.txt", "a,two.txt"}},
        {"order=ingested_at.desc.nullslast", {"a,two.txt", "b/one.txt"}},
        {"order=bytes.desc&limit=1", {"a,two.txt"}},
        {"storage_key=in.(\"a,two.txt\",none)", {"a,two.txt"}},
        {"id=in.(" + first + "," + second + ")", {"b/one.txt", "a,two.txt"}},
        {"ingested_at=not.is.null", {"a,two.txt"}},
        {"ingested_at=eq.2024-05-01T10:20:30.500000%2B00:00", {"a,two.txt"}},
        {"is_deleted=is.true", {"a,two.txt"}},
        {"is_deleted=eq.false&bytes=lt.70", {"b/one.txt"}},
        {"bytes=not.in.(5,6)", {"a,two.txt"}},
    };
    for (const auto& [query, expected] : cases) {
        EXPECT_EQ(keys(query), expected) << query;
    }
    const std::vector<std::string> many(5000, first);
    change(fmt::format("files?id=in.({})", fmt::join(many, ",")), R"({"bytes":6})");
    EXPECT_EQ(send("GET", "/rest/v1/files?select=bytes,path&limit=1").body, R"([{"bytes":6,"path":"b/one.txt"}])");
}

TEST_F(TablesTest, CountInTheContentRange) {
    run();
    const Headers counting{{"Prefer", "count=exact"}, {"Range-Unit", "items"}, {"Range", "0-0"}};
    const auto count = [&] {
        const Reply reply = send("GET", "/rest/v1/jobs?status=eq.queued", {}, counting);
        return fmt::format("{} {} {}", reply.status, reply.contentRange, reply.parsed().size());
    };
    EXPECT_EQ(count(), "200 */0 0");
    const std::string file = addFile("a.txt");
    for (int job = 0; job < 3; ++job) {
        EXPECT_EQ(addJob(file, "ingest"), 201);
    }
    EXPECT_EQ(count(), "206 0-0/3 1");
}

TEST_F(TablesTest, MergeADuplicateAndKeepWhatWasLeftOut) {
    run();
    const std::string id = addFile("a.txt");
    change("files?id=eq." + id, R"({"ingested_sha256":"old","is_deleted":true,"ingest_error":"bad"})");
    now_ += std::chrono::seconds(5);
    EXPECT_EQ(addFile("a.txt"), id);
    const json row = only("files");
    EXPECT_EQ(row["ingested_sha256"], "old");
    EXPECT_EQ(row["is_deleted"], false);
    EXPECT_EQ(row["ingest_error"], nullptr);
    EXPECT_EQ(row["created_at"], "2024-05-01T10:20:30.000000+00:00");
    EXPECT_EQ(row["updated_at"], "2024-05-01T10:20:35.000000+00:00");
}

TEST_F(TablesTest, RefuseWhatTheColumnsAndKeysDoNotAllow) {
    run();
    const std::string own = fmt::format(R"("user_id":"{}")", userId_);
    const std::string file = "{" + own + R"(,"path":"p","storage_bucket":"files","storage_key":)";
    addFile("taken");
    const std::tuple<std::string, std::string, std::string, int> cases[] = {
        {"GET", "files?select=id,colour", "", 400},
        {"GET", "files?colour=eq.red", "", 400},
        {"GET", "files?path=resembles.x", "", 400},
        {"GET", "files?limit=-1", "", 400},
        {"GET", "people", "", 404},
        {"POST", "files", "no json", 400},
        {"POST", "files", file + R"("k","colour":1})", 400},
        {"POST", "files", file + R"("taken"})", 409},
        {"POST", "jobs", "{" + own + R"(,"kind":"ingest","file_id":"00000000-0000-4000-8000-000000000000"})", 409},
        {"POST", "jobs", R"({"user_id":"00000000-0000-4000-8000-000000000000","kind":"ingest"})", 403},
        {"PATCH", "files", R"({"user_id":"00000000-0000-4000-8000-000000000000"})", 403},
    };
    for (const auto& [method, target, body, expected] : cases) {
        const Reply reply = send(method, "/rest/v1/" + target, body);
        EXPECT_EQ(reply.status, expected) << target << " " << body << " " << reply.body;
        EXPECT_TRUE(reply.parsed().contains("message"));
    }
    EXPECT_EQ(only("files")["storage_key"], "taken");
}

TEST_F(TablesTest, ShowAndChangeOnesOwnRowsAlone) {
    run();
    const std::string id = addFile("a.txt");
    const json row = only("files");
    signIn("bob@example.com");
    EXPECT_EQ(send("GET", "/rest/v1/files").body, "[]");
    change("files?id=eq." + id, R"({"is_deleted":true})");
    json stolen = row;
    stolen["user_id"] = userId_;
    const Headers merging{{"Prefer", "resolution=merge-duplicates"}};
    EXPECT_EQ(send("POST", "/rest/v1/files?on_conflict=id", stolen.dump(), merging).status, 403);
    EXPECT_EQ(only("files"), row);
}

} // namespace

} // namespace local_project
