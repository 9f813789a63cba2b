#include "local_project/Dashboard.h"
#include "local_project/Digest.h"
#include "local_project/ProjectFixture.h"

#include <fstream>

namespace local_project {

using nlohmann::json;

namespace {

class JournalTest : public ProjectFixture {};

TEST_F(JournalTest, KeepsARequestAsItWasSent) {
    run();
    exchangeRaw(project_->port(), "PATCH /rest/v1/jobs?id=in.(b,a)&x=%2B+&id=2 HTTP/1.1\r\nhost: here\r\n"
                                  "X-b: 1\r\naPiKey:  key \r\nx-B: 2\r\nContent-Length: 3\r\n\r\n{ }");
    const json entry = send("GET", "/_local/journal?since=1").json()[0];
    EXPECT_EQ(entry["method"], "PATCH");
    EXPECT_EQ(entry["target"], "/rest/v1/jobs?id=in.(b,a)&x=%2B+&id=2");
    EXPECT_EQ(entry["path"], "/rest/v1/jobs");
    EXPECT_EQ(entry["query"].dump(), R"~([["id","in.(b,a)"],["x","+ "],["id","2"]])~");
    EXPECT_EQ(entry["headers"].dump(),
              R"([["host","here"],["X-b","1"],["aPiKey","key"],["x-B","2"],["Content-Length","3"]])");
    EXPECT_EQ(entry["body"], "{ }");
    EXPECT_EQ(entry["status"], 401);
}

TEST_F(JournalTest, NumbersConnectionsAndTellsUploadsByTheirDigest) {
    run();
    send("GET", "/auth/v1/user");
    upload("a", "content");
    Caller another(project_->port());
    another.send("GET", "/rest/v1/files", {});
    const auto entries = project_->journal().entries();
    ASSERT_EQ(entries.size(), 4U);
    EXPECT_EQ(entries[0].connection, entries[2].connection);
    EXPECT_NE(entries[2].connection, entries[3].connection);
    const json shown = project_->journal().since(2)[0];
    EXPECT_EQ(shown["body"], (json{{"bytes", 7}, {"sha256", Digest::of("content")}}));
}

TEST_F(JournalTest, ForgetsTheOldestAndIsCleared) {
    options_.journalLimit = 2;
    options_.journalFile = folder_ / "journal";
    run();
    send("GET", "/auth/v1/user");
    send("GET", "/rest/v1/jobs");
    const auto entries = project_->journal().entries();
    ASSERT_EQ(entries.size(), 2U);
    EXPECT_EQ(entries[0].sequence, 2U);
    EXPECT_EQ(send("DELETE", "/_local/journal").status, 204);
    EXPECT_EQ(send("GET", "/_local/journal").json(), json::array());
    std::ifstream file(*options_.journalFile);
    std::string line;
    for (const char* path : {"/auth/v1/token", "/auth/v1/user", "/rest/v1/jobs"}) {
        ASSERT_TRUE(std::getline(file, line));
        EXPECT_EQ(json::parse(line)["path"], path);
    }
}

TEST(Dashboard, ShowsWhatClientsSentAsText) {
    const json files = {
        {{"id", "1"}, {"path", "<b>&\"'.txt"}, {"bytes", 2500}, {"is_deleted", false}, {"ingest_error", "<i>"}}};
    const json jobs = {{{"kind", "<u>"}, {"file_id", "1"}, {"status", "error"}, {"error", "<s>"}}};
    const std::string page = dashboardPage(files, jobs);
    EXPECT_NE(page.find("<td>&lt;b&gt;&amp;&quot;&#39;.txt</td><td class=\"number\">2.5 KB</td>"), std::string::npos);
    for (const char* tag : {"<b>&", "<i>", "<u>", "<s>"}) {
        EXPECT_EQ(page.find(tag), std::string::npos) << tag;
    }
}

} // namespace

} // namespace local_project
