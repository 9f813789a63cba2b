#include "endtoend/AgentFixture.h"

#include <nlohmann/json.hpp>

#include <csignal>
#include <fstream>
#include <functional>
#include <random>
#include <set>
#include <thread>

using namespace veskline;
using local_project::JournalEntry;
using veskline::testing::Program;

namespace {

class Agent : public veskline::testing::AgentFixture {
protected:
    using Headers = std::vector<std::pair<std::string, std::string>>;

    // The headers that the agent chose: all but those of the connection itself.
    static Headers chosenHeaders(const JournalEntry& entry) {
        Headers headers;
        for (const auto& [name, value] : entry.headers) {
            if (name != "Host" && name != "Content-Length") {
                headers.emplace_back(name, value);
            }
        }
        return headers;
    }
    [[nodiscard]] nlohmann::json storedSession() const {
        return nlohmann::json::parse(folder.read("state/session.json"));
    }
};

} // namespace

TEST_F(Agent, BringsEveryKindOfDocumentOverAndUploadsNothingTheSecondTime) {
    const std::vector<std::string> names{"a.md",
                                         "b.TXT",
                                         "c.csv",
                                         "d.rtf",
                                         "sub/e.pdf",
                                         "sub/deep/f.docx",
                                         "g.epub",
                                         "Q3 Réport (final) #2, 100%?.txt",
                                         "line\nbreak \"quoted\".md"};
    for (const std::string& name : names) {
        write(name, name.ends_with(".pdf")                               ? "%PDF-1.4 x"
                    : name.ends_with(".docx") || name.ends_with(".epub") ? "PK x"
                                                                         : name);
    }
    write("photo.png", "x");
    write("node_modules/n.md", "x");
    write(std::string(251, 'n') + ".txt", "a name of 255 bytes");
    std::ofstream(root + "/\xff\xfe.txt") << "no UTF-8";
    std::vector<std::string> expected = names;
    expected.push_back(std::string(251, 'n') + ".txt");
    setUp();
    EXPECT_EQ(syncOnce(), "Summary: uploaded 10, skipped 0, deleted 0, failed 0.");
    EXPECT_EQ(hosted(), disk(expected));
    EXPECT_EQ(syncOnce(), "Summary: uploaded 0, skipped 10, deleted 0, failed 0.");
    EXPECT_TRUE(temporaryFilesLeft().empty());
}

TEST_F(Agent, SendsExactlyFiveRequestsForANewFileOnOneConnection) {
    const std::string path = write("Client Notes/Q3 Réport.PDF", "%PDF-1.4 content");
    setUp();
    const std::string token = storedSession().at("access_token");
    const std::string user = storedSession().at("user").at("id");
    syncOnce();
    std::vector<JournalEntry> requests = project.journal().entries();
    const auto first = std::ranges::find(requests, "POST", &JournalEntry::method);
    ASSERT_EQ(first - requests.begin(), 2) << "before it the restored user and the drain's question";
    requests.erase(requests.begin(), first);
    ASSERT_GE(requests.size(), 5U);
    EXPECT_TRUE(std::ranges::all_of(requests.begin() + 5, requests.end(), [](const JournalEntry& entry) {
        return entry.method == "GET" && entry.path.starts_with("/rest/v1/");
    })) << "behind it the hosted status alone";
    requests.resize(5);

    const std::string key = "user-" + user + "/root-" + requests[0].path.substr(requests[0].path.find("root-") + 5, 8) +
                            "/client-notes-f2de9572/q3-report-" + requests[0].path.substr(requests[0].path.size() - 12);
    const Headers common{
        {"apikey", "local-anon-key"}, {"accept", "application/json"}, {"Authorization", "Bearer " + token}};
    const auto with = [&](Headers more) {
        Headers all = common;
        all.insert(all.end(), more.begin(), more.end());
        std::ranges::sort(all);
        return all;
    };
    struct Row {
        std::string method, target;
        Headers headers;
        std::set<std::string> keys;
    };
    const std::string columns =
        "id,user_id,storage_bucket,storage_key,sha256,ingested_sha256,is_deleted,path,bytes,mime,ingest_error";
    const Row rows[] = {
        {"POST",
         "/storage/v1/object/files/" + key,
         with({{"content-type", "application/pdf"}, {"cache-control", "max-age=3600"}, {"x-upsert", "true"}}),
         {}},
        {"GET", "/auth/v1/user", with({}), {}},
        {"POST",
         "/rest/v1/files?on_conflict=user_id,storage_bucket,storage_key&select=" + columns,
         with({{"Prefer", "resolution=merge-duplicates,return=representation"}, {"content-type", "application/json"}}),
         {"user_id", "path", "storage_bucket", "storage_key", "bytes", "mime", "sha256", "is_deleted", "ingest_error"}},
        {"GET", "/auth/v1/user", with({}), {}},
        {"POST",
         "/rest/v1/jobs",
         with({{"content-type", "application/json"}}),
         {"user_id", "file_id", "kind", "payload"}},
    };
    ASSERT_EQ(requests.size(), std::size(rows));
    for (std::size_t i = 0; i < requests.size(); ++i) {
        SCOPED_TRACE(rows[i].method + " " + rows[i].target);
        EXPECT_EQ(requests[i].method, rows[i].method);
        EXPECT_EQ(requests[i].target, rows[i].target);
        Headers headers = chosenHeaders(requests[i]);
        std::ranges::sort(headers);
        EXPECT_EQ(headers, rows[i].headers);
        EXPECT_EQ(requests[i].connection, requests[0].connection);
        std::set<std::string> keys;
        if (!requests[i].text.empty()) {
            for (const auto& [name, value] : nlohmann::json::parse(requests[i].text).items()) {
                keys.insert(name);
            }
        }
        EXPECT_EQ(keys, rows[i].keys);
    }
    const nlohmann::json row = nlohmann::json::parse(requests[2].text);
    EXPECT_EQ(row.at("path"), "Client Notes/Q3 Réport.PDF");
    EXPECT_EQ(row.at("storage_key"), key);
    EXPECT_EQ(row.at("bytes"), 16);
    EXPECT_EQ(row.at("sha256"), requests[0].bodyDigest);
    EXPECT_EQ(row.at("is_deleted"), false);
    EXPECT_TRUE(row.at("ingest_error").is_null());
    EXPECT_EQ(nlohmann::json::parse(requests[4].text).at("payload"), nlohmann::json::object());
}

TEST_F(Agent, EndsCleanlyAtAnySignalAlsoInTheMidstOfAnUpload) {
    write("a.txt", "hello");
    setUp();
    const auto stall = nlohmann::json::parse(R"([{"kind":"stall","method":"POST","path":"/storage/*"}])");
    for (const int number : {SIGINT, SIGTERM}) {
        project.faults().add(stall);
        const std::unique_ptr<Program> agent = startAgent();
        ASSERT_TRUE(agent->waitForLine("Found 1 files."));
        ASSERT_TRUE(project.journal().waitFor(
            [](const auto& entries) { return !entries.empty() && entries.back().method == "POST"; },
            Program::patience));
        const auto begin = std::chrono::steady_clock::now();
        agent->signal(number);
        EXPECT_EQ(agent->wait(), 0);
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(2));
        EXPECT_TRUE(agent->errors().empty());
        project.faults().clear();
        project.journal().clear();
    }
    EXPECT_EQ(folder.read("state/retry-queue.json"), "") << "quitting is no failure of the file";
    const std::unique_ptr<Program> early = startAgent();
    early->signal(SIGTERM);
    early->wait();
    EXPECT_EQ(syncOnce(), "Summary: uploaded 1, skipped 0, deleted 0, failed 0.");
}

TEST_F(Agent, LosesNothingWhenItIsKilledAtAnyMoment) {
    std::vector<std::string> names;
    for (int i = 0; i < 300; ++i) {
        names.push_back("d" + std::to_string(i % 7) + "/" + std::to_string(i) + ".txt");
    }
    setUp();
    std::mt19937 random(20261122);
    for (int round = 0; round < 20; ++round) {
        SCOPED_TRACE(round);
        for (const std::string& name : names) {
            write(name, name + " of round " + std::to_string(round));
        }
        {
            const std::unique_ptr<Program> agent = startAgent();
            ASSERT_TRUE(agent->waitForLine("Scanned: " + std::to_string(1 + random() % 299)));
            std::this_thread::sleep_for(std::chrono::microseconds(random() % 3000));
            agent->signal(SIGKILL);
            EXPECT_EQ(agent->wait(), -SIGKILL);
        }
        syncOnce();
        ASSERT_EQ(hosted(), disk(names));
        ASSERT_TRUE(isDatabaseWhole());
        ASSERT_TRUE(temporaryFilesLeft().empty());
    }
}

TEST_F(Agent, GoesOnWhateverTheServiceAnswersAndUploadsOnceItIsWell) {
    struct Row {
        const char* fault;
        const char* words;
    };
    const Row rows[] = {
        {R"({"kind":"status","status":500,"path":"/storage/*"})", "Supabase request failed with status 500"},
        {R"({"kind":"status","status":409,"path":"/rest/v1/files"})", "Supabase request failed with status 409"},
        {R"({"kind":"status","status":403,"path":"/rest/v1/jobs"})", "Supabase request failed with status 403"},
        {R"({"kind":"cut-before","path":"/storage/*"})", ""},
        {R"({"kind":"cut-after","path":"/rest/v1/files"})", ""},
        {R"({"kind":"cut-in-body","path":"/rest/v1/files"})", ""},
        {R"({"kind":"truncate","path":"/rest/v1/files"})", ""},
        {R"({"kind":"html","path":"/rest/v1/files"})", ""},
        {R"({"kind":"wrong-type","path":"/rest/v1/files"})", ""},
        {R"({"kind":"envelope","path":"/rest/v1/files","message":"out of paper"})", "out of paper"},
        {R"({"kind":"junk","mib":20,"path":"/rest/v1/files"})", ""},
        {R"({"kind":"redirect","location":"http://127.0.0.1:1/","path":"/rest/v1/files"})", ""},
    };
    setUp();
    for (const Row& row : rows) {
        SCOPED_TRACE(row.fault);
        const std::string path = write("a.txt", row.fault);
        nlohmann::json fault = nlohmann::json::parse(row.fault);
        fault["method"] = "POST";
        fault["count"] = 5;
        project.faults().add(fault);
        const std::unique_ptr<Program> agent = startAgent();
        EXPECT_TRUE(agent->waitForLine("Initial scan complete"));
        agent->signal(SIGTERM);
        EXPECT_EQ(agent->wait(), 0);
        EXPECT_EQ(agent->lastLine("Summary: "), "Summary: uploaded 0, skipped 0, deleted 0, failed 1.");
        const std::string told = agent->lastLine("Upload failed, queued for retry: ");
        const std::string beginning = "Upload failed, queued for retry: " + path + " (";
        EXPECT_TRUE(told.starts_with(beginning) && told.size() > beginning.size() + 5) << told;
        EXPECT_NE(told.find(row.words), std::string::npos) << told;
        project.faults().clear();
        EXPECT_EQ(syncOnce(), "Summary: uploaded 1, skipped 0, deleted 0, failed 0.");
        EXPECT_EQ(hosted(), disk({"a.txt"}));
    }
}

TEST_F(Agent, SaysInThreeLinesWhyItCannotStart) {
    struct Row {
        const char* name;
        std::function<void()> breakIt;
        const char* words;
    };
    const Row rows[] = {
        {"no configuration", [&] { environment.erase("SUPABASE_URL"); }, "public-config.json"},
        {"no database", [&] { folder.write("state/state.sqlite3", std::string(5000, 'x')); }, "file is not a database"},
        {"a folder in its place", [&] { folder.makeFolder("state/state.sqlite3"); }, "unable to open"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const Program::Environment before = environment;
        row.breakIt();
        const std::unique_ptr<Program> agent = startAgent();
        EXPECT_EQ(agent->wait(), 1);
        ASSERT_EQ(agent->errors().size(), 3U);
        EXPECT_EQ(agent->errors()[0], "Veskline");
        EXPECT_EQ(agent->errors()[1], "Native app initialization failed.");
        EXPECT_NE(agent->errors()[2].find(row.words), std::string::npos) << agent->errors()[2];
        EXPECT_TRUE(project.journal().entries().empty());
        environment = before;
        std::filesystem::remove_all(folder.at("state"));
    }
}
