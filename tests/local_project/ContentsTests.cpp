#include "local_project/Dashboard.h"
#include "local_project/Digest.h"
#include "local_project/ProjectFixture.h"

#include <filesystem>

namespace local_project {

namespace {

// The objects, and what the worker makes of them.
class ContentsTest : public ProjectFixture {
protected:
    std::string content() {
        return folder_.read("data/objects/" + std::filesystem::path(only("objects")["file"]).filename().string());
    }
    std::ptrdiff_t filesOnDisk() {
        return std::distance(std::filesystem::directory_iterator(options_.data / "objects"), {});
    }
    void settle() { ASSERT_TRUE(project_->worker().settle(patience)); }
};

TEST_F(ContentsTest, LieUnderTheDecodedKeyAndAreReplacedOnlyWhenAsked) {
    run();
    const std::string large(3'000'000, 'x');
    const std::string name = "r%C3%A9sum%C3%A9%20+1.txt";
    const std::string place = "files/" + keyOf(name);
    EXPECT_EQ(upload(name, large), 200);
    EXPECT_EQ(only("objects")["key"], keyOf("résumé +1.txt"));
    EXPECT_EQ(only("objects")["sha256"], Digest::of(large));
    EXPECT_EQ(content(), large);
    EXPECT_EQ(status("POST", "/storage/v1/object/" + place, "second"), 409);
    EXPECT_EQ(upload(name, "second"), 200);
    EXPECT_EQ(content(), "second");
    EXPECT_EQ(filesOnDisk(), 1);
}

TEST_F(ContentsTest, LieInTheOneBucketBelowTheFolderOfTheirUser) {
    options_.profile = RefusalProfile::deployed;
    run();
    const std::string ada = userId_;
    signIn("bob@example.com");
    const std::tuple<std::string, const char*> refused[] = {
        {"files/user-" + ada + "/a.txt", "403"},     {"files/user-" + userId_, "403"},      {"files/a.txt", "403"},
        {"files/User-" + userId_ + "/a.txt", "403"}, {"pictures/" + keyOf("a.txt"), "404"},
    };
    for (const auto& [place, code] : refused) {
        const Reply reply = send("POST", "/storage/v1/object/" + place, "text");
        EXPECT_EQ(reply.status, 400) << place;
        EXPECT_EQ(reply.parsed()["statusCode"], code) << place;
    }
    EXPECT_EQ(project_->state()["objects"], json::array());
}

TEST_F(ContentsTest, StayWhenAnUploadIsCutAndLoseTheRestsOfAKilledRun) {
    run();
    upload("a", "first");
    project_->faults().add(json{{"kind", "cut-upload"}, {"bytes", 1000}});
    EXPECT_EQ(upload("a", std::string(5000, 'y')), 0);
    EXPECT_EQ(filesOnDisk(), 1);
    folder_.write("data/objects/half", "hal");
    run();
    EXPECT_EQ(filesOnDisk(), 1);
    EXPECT_EQ(content(), "first");
}

TEST_F(ContentsTest, AreIngestedWhereTheyCanBeReadElseItSaysWhyNot) {
    const std::tuple<std::string, std::optional<std::string>, json> cases[] = {
        {"paper.pdf", "%PDF-1.7 ...", nullptr},
        {"paper.PDF", "<html>", "The content is no pdf document"},
        {"letter.docx", "PK\x03\x04", nullptr},
        {"book.epub", "P", "The content is no epub document"},
        {"empty.md", "", "The document is empty"},
        {"never-uploaded.md", std::nullopt, "The object is missing from the bucket"},
    };
    run();
    for (const auto& [name, content, error] : cases) {
        if (content) {
            upload(name, *content);
        }
        addJob(addFile(name), "ingest");
    }
    settle();
    const json state = project_->state();
    for (std::size_t at = 0; const auto& [name, content, error] : cases) {
        const json& file = state["files"][at];
        const json& job = state["jobs"][at++];
        EXPECT_EQ(file["ingest_error"], error) << name;
        EXPECT_EQ(file["ingested_sha256"], error.is_null() ? json(digest) : json()) << name;
        EXPECT_EQ(job["status"], error.is_null() ? "done" : "error") << name;
        EXPECT_EQ(job["error"], error) << name;
    }
}

TEST_F(ContentsTest, AreIngestedAnewWhenPutBackAndForgottenWhenDeleted) {
    run();
    const std::string file = addFile("late.txt");
    addJob(file, "ingest");
    settle();
    upload("late.txt", "here");
    change("jobs?id=in.(" + only("jobs").value("id", "") + ")", R"({"status":"queued","attempts":0,"error":null})");
    settle();
    EXPECT_EQ(only("jobs")["status"], "done");
    EXPECT_EQ(only("jobs")["attempts"], 1);
    addJob(file, "delete");
    settle();
    EXPECT_EQ(only("files")["ingested_sha256"], digest) << "it came back";
    change("files?id=eq." + file, R"({"is_deleted":true})");
    addJob(file, "delete");
    settle();
    EXPECT_EQ(only("files")["ingested_sha256"], nullptr);
}

TEST(Dashboard, ShowsWhatClientsSentAsText) {
    const json files = {
        {{"id", "1"}, {"path", "<b>&\"'.txt"}, {"bytes", 2500}, {"is_deleted", false}, {"ingest_error", "<i>"}}};
    const json jobs = {{{"kind", "<u>"}, {"file_id", "1"}, {"status", "error"}, {"error", "<s>"}}};
    const std::string page = dashboardPage(files, jobs);
    EXPECT_TRUE(page.contains("<td>&lt;b&gt;&amp;&quot;&#39;.txt</td><td class=\"number\">2.5 KB</td>"));
    EXPECT_FALSE(page.contains("<i>") || page.contains("<u>") || page.contains("<s>"));
}

} // namespace

} // namespace local_project
