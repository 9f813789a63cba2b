#include "local_project/ProjectFixture.h"

#include <fmt/ranges.h>

namespace local_project {

namespace {

class TablesTest : public ProjectFixture {
protected:
    // The paths of the rows of `files` that a query selects, in their order.
    std::vector<std::string> paths(const std::string& query) {
        std::vector<std::string> values;
        for (const json& row : send("GET", "/rest/v1/files?select=path&" + query).parsed()) {
            values.push_back(row["path"]);
        }
        return values;
    }
};

TEST_F(TablesTest, SelectFilterAndOrder) {
    run();
    const std::string first = addFile("b/one.txt");
    const std::string second = ingest("a,two.txt");
    change("files?id=eq." + second, R"({"is_deleted":true,"bytes":70})");
    const std::pair<std::string, std::vector<std::string>> cases[] = {
        {"", {"b/one.txt", "a,two.txt"}},
        {"order=ingested_at.desc", {"b/one.txt", "a,two.txt"}},
        {"order=ingested_at.desc.nullslast", {"a,two.txt", "b/one.txt"}},
        {"order=bytes.desc&limit=1", {"a,two.txt"}},
        {"path=in.(\"a,two.txt\",none)", {"a,two.txt"}},
        {"id=in.(" + first + "," + second + ")", {"b/one.txt", "a,two.txt"}},
        {"ingested_at=not.is.null", {"a,two.txt"}},
        {"ingested_at=eq.2024-05-01T10:20:30.0Z", {"a,two.txt"}},
        {"is_deleted=is.true", {"a,two.txt"}},
        {"is_deleted=eq.false&bytes=lt.70", {"b/one.txt"}},
        {"bytes=not.in.(5,6)", {"a,two.txt"}},
    };
    for (const auto& [query, expected] : cases) {
        EXPECT_EQ(paths(query), expected) << query;
    }
    const std::vector<std::string> many(5000, first);
    change(fmt::format("files?id=in.({})", fmt::join(many, ",")), R"({"bytes":6})");
    EXPECT_EQ(send("GET", "/rest/v1/files?select=bytes,path&limit=1").body, R"([{"bytes":6,"path":"b/one.txt"}])");
}

TEST_F(TablesTest, CountInTheContentRange) {
    options_.worker = WorkerPolicy::off;
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
    const std::string id = ingest("a.txt");
    change("files?id=eq." + id, R"({"is_deleted":true,"ingest_error":"bad"})");
    now_ += std::chrono::seconds(5);
    json changed = rowOf("a.txt");
    changed["sha256"] = std::string(64, 'b');
    const Reply merged = upsert(changed);
    EXPECT_EQ(merged.status, 200);
    EXPECT_EQ(merged.parsed().at(0)["id"], id);
    const json row = only("files");
    EXPECT_EQ(row["sha256"], changed["sha256"]);
    EXPECT_EQ(row["ingested_sha256"], digest);
    EXPECT_EQ(row["is_deleted"], false);
    EXPECT_EQ(row["ingest_error"], nullptr);
    EXPECT_EQ(row["created_at"], "2024-05-01T10:20:30.000000+00:00");
    EXPECT_EQ(row["updated_at"], "2024-05-01T10:20:35.000000+00:00");
    EXPECT_EQ(upsert(json::array({rowOf("a.txt"), rowOf("b.txt")})).status, 201) << "one of them is new";
}

TEST_F(TablesTest, RefuseWhatAQueryCannotMean) {
    run();
    for (const char* target :
         {"files?select=id,colour", "files?colour=eq.red", "files?path=resembles.x", "files?limit=-1"}) {
        EXPECT_EQ(status("GET", std::string("/rest/v1/") + target), 400) << target;
    }
    EXPECT_EQ(status("GET", "/rest/v1/people"), 404);
    EXPECT_EQ(status("POST", "/rest/v1/files", "no json"), 400);
    EXPECT_EQ(status("POST", "/rest/v1/files", R"({"colour":1})"), 400);
}

// As PostgreSQL refuses it under docs/hosted-project.sql.
TEST_F(TablesTest, RefuseWhatConstraintsGrantsAndPoliciesForbid) {
    options_.worker = WorkerPolicy::off;
    run();
    const std::string nobody = "00000000-0000-4000-8000-000000000000";
    signIn("bob@example.com");
    const std::string bobs = addFile("b.txt");
    signIn("ada@example.com");
    const std::string own = addFile("taken");
    const json file = rowOf("new");
    const json job = {{"user_id", userId_}, {"file_id", own}, {"kind", "ingest"}};
    ASSERT_EQ(addJob(own, "ingest"), 201);
    const json before = project_->state()["files"];
    const std::tuple<std::string, json, json, int, std::string> cases[] = {
        {"POST files", file, {{"storage_key", keyOf("taken")}}, 409, "23505"},
        {"POST files", file, {{"storage_key", "new"}}, 400, "23514"},
        {"POST files", file, {{"storage_key", "User-" + userId_ + "/new"}}, 400, "23514"},
        {"POST files", file, {{"bytes", -1}}, 400, "23514"},
        {"POST files", file, {{"sha256", ""}}, 400, "23514"},
        {"POST files", file, {{"sha256", std::string(64, 'A')}}, 400, "23514"},
        {"POST files", file, {{"sha256", digest + "a"}}, 400, "23514"},
        {"POST files", file, {{"sha256", digest + std::string(1, '\0')}}, 400, "22P02"},
        {"POST files", file, {{"path", nullptr}}, 400, "23502"},
        {"POST files", file, {{"user_id", nobody}}, 403, "42501"},
        {"POST files", file, {{"user_id", nullptr}}, 403, "42501"},
        {"POST files", file, {{"id", nobody}}, 403, "42501"},
        {"POST files", file, {{"created_at", "2024-05-01T10:20:30Z"}}, 403, "42501"},
        {"POST files", file, {{"ingested_sha256", digest}}, 403, "42501"},
        {"PATCH files", {}, {{"ingested_at", nullptr}}, 403, "42501"},
        {"PATCH files", {}, {{"user_id", nobody}}, 403, "42501"},
        {"PATCH files", {}, {{"sha256", "skipped"}}, 400, "23514"},
        {"DELETE files", {}, {}, 403, "42501"},
        {"POST jobs", job, {{"file_id", bobs}}, 403, "42501"},
        {"POST jobs", job, {{"file_id", nobody}}, 403, "42501"},
        {"POST jobs", job, {{"file_id", nullptr}}, 403, "42501"},
        {"POST jobs", job, {{"status", "done"}}, 403, "42501"},
        {"POST jobs", job, {{"kind", nullptr}}, 400, "23502"},
        {"PATCH jobs", {}, {{"kind", "delete"}}, 403, "42501"},
        {"PATCH jobs", {}, {{"status", "lost"}}, 400, "23514"},
        {"PATCH jobs", {}, {{"attempts", -1}}, 400, "23514"},
        {"PATCH jobs", {}, {{"attempts", 3'000'000'000}}, 400, "22003"},
    };
    for (const auto& [request, whole, changes, expected, code] : cases) {
        json body = whole.is_null() ? json::object() : whole;
        body.update(changes.is_null() ? json::object() : changes);
        const auto space = request.find(' ');
        const Reply reply = send(request.substr(0, space), "/rest/v1/" + request.substr(space + 1), body.dump());
        EXPECT_EQ(reply.status, expected) << request << " " << body << " " << reply.body;
        EXPECT_EQ(reply.parsed()["code"], code) << request << " " << body << " " << reply.body;
    }
    EXPECT_EQ(project_->state()["files"], before);
    EXPECT_EQ(only("jobs")["kind"], "ingest");
}

TEST_F(TablesTest, ShowAndChangeOnesOwnRowsAlone) {
    run();
    const std::string id = addFile("a.txt");
    const json row = only("files");
    signIn("bob@example.com");
    EXPECT_EQ(send("GET", "/rest/v1/files").body, "[]");
    change("files?id=eq." + id, R"({"is_deleted":true})");
    EXPECT_EQ(only("files"), row);
}

TEST_F(TablesTest, RefuseAFolderOfAnotherVersion) {
    run();
    project_.reset();
    Database(options_.data / "project.sqlite").run("PRAGMA user_version = 0");
    try {
        run();
        ADD_FAILURE() << "started";
    } catch (const DatabaseError& error) {
        EXPECT_TRUE(std::string(error.what()).contains("/data was made by another version")) << error.what();
    }
}

} // namespace

} // namespace local_project
