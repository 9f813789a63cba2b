#include "local_project/ProjectFixture.h"

namespace local_project {

using nlohmann::json;

namespace {

constexpr std::chrono::seconds patience{20};

class IngestWorkerTest : public ProjectFixture {};

TEST_F(IngestWorkerTest, IngestsWhatCanBeReadAndSaysWhyNot) {
    struct Case {
        std::string key;
        std::optional<std::string> content;
        json error;
    };
    const std::vector<Case> cases = {
        {"notes.txt", "hello", nullptr},
        {"paper.pdf", "%PDF-1.7 ...", nullptr},
        {"paper.PDF", "<html>", "The content is no pdf document"},
        {"letter.docx", "PK\x03\x04", nullptr},
        {"book.epub", "P", "The content is no epub document"},
        {"empty.md", "", "The document is empty"},
        {"never-uploaded.md", std::nullopt, "The object is missing from the bucket"},
    };
    run();
    for (const Case& document : cases) {
        if (document.content) {
            upload(document.key, *document.content);
        }
        addJob(addFile(document.key), "ingest");
    }
    ASSERT_TRUE(project_->worker().settle(patience));
    const json state = project_->state();
    for (std::size_t at = 0; at < cases.size(); ++at) {
        const bool isRead = cases[at].error.is_null();
        const json& file = state["files"][at];
        EXPECT_EQ(file["ingest_error"], cases[at].error) << cases[at].key;
        EXPECT_EQ(file["ingested_sha256"], isRead ? json("aa11") : json()) << cases[at].key;
        EXPECT_EQ(file["ingested_at"].is_string(), isRead) << cases[at].key;
        EXPECT_EQ(state["jobs"][at]["status"], isRead ? "done" : "error") << cases[at].key;
        EXPECT_EQ(state["jobs"][at]["error"], cases[at].error) << cases[at].key;
        EXPECT_EQ(state["jobs"][at]["attempts"], 1) << cases[at].key;
    }
}

TEST_F(IngestWorkerTest, IngestsARequeuedJobAnew) {
    run();
    addJob(addFile("late.txt"), "ingest");
    ASSERT_TRUE(project_->worker().settle(patience));
    EXPECT_EQ(only("jobs")["status"], "error");
    upload("late.txt", "here");
    send("PATCH", "/rest/v1/jobs?id=in.(" + only("jobs").value("id", "") + ")",
         R"({"status":"queued","attempts":0,"error":null})", {{"Prefer", "return=minimal"}});
    ASSERT_TRUE(project_->worker().settle(patience));
    EXPECT_EQ(only("jobs")["status"], "done");
    EXPECT_EQ(only("jobs")["attempts"], 1);
}

TEST_F(IngestWorkerTest, ForgetsADeletedFileUnlessItCameBack) {
    run();
    upload("a.txt", "hello");
    const std::string id = addFile("a.txt");
    addJob(id, "ingest");
    addJob(id, "delete");
    ASSERT_TRUE(project_->worker().settle(patience));
    EXPECT_EQ(only("files")["ingested_sha256"], "aa11");
    send("PATCH", "/rest/v1/files?id=eq." + id, R"({"is_deleted":true})");
    addJob(id, "delete");
    ASSERT_TRUE(project_->worker().settle(patience));
    EXPECT_EQ(only("files")["ingested_sha256"], nullptr);
}

TEST_F(IngestWorkerTest, TakesUpAfterARestartWhatWasRunning) {
    options_.workerDelay = std::chrono::hours(1);
    run();
    upload("a.txt", "hello");
    addJob(addFile("a.txt"), "ingest");
    while (only("jobs")["status"] != "running") {
        std::this_thread::yield();
    }
    options_.workerDelay = std::chrono::milliseconds(0);
    run();
    ASSERT_TRUE(project_->worker().settle(patience));
    EXPECT_EQ(only("jobs")["status"], "done");
    EXPECT_EQ(only("jobs")["attempts"], 2);
}

} // namespace

} // namespace local_project
