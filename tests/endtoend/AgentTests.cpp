#include "endtoend/AgentFixture.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <csignal>
#include <fstream>
#include <functional>

using namespace veskline;
using local_project::JournalEntry;
using nlohmann::json;
using veskline::testing::Program;
using Agent = veskline::testing::AgentFixture;

TEST_F(Agent, BringsEveryKindOfDocumentOverAndUploadsNothingTheSecondTime) {
    const std::string longest = std::string(251, 'n') + ".txt"; // 255 bytes
    const std::vector<std::string> names{"a.md",
                                         "b.TXT",
                                         "c.csv",
                                         "d.rtf",
                                         "sub/e.pdf",
                                         "sub/deep/f.docx",
                                         "g.epub",
                                         "Q3 Réport (final) #2, 100%?.txt",
                                         "line\nbreak \"quoted\".md",
                                         longest};
    for (const std::string& name : names) {
        write(name, name);
    }
    write("photo.png", "x");
    write("node_modules/n.md", "x");
    std::ofstream(root + "/\xff\xfe.txt") << "no UTF-8";
    setUp();
    EXPECT_EQ(syncOnce(), "Summary: uploaded 10, skipped 0, deleted 0, failed 0.");
    EXPECT_EQ(hosted(), disk());
    EXPECT_EQ(syncOnce(), "Summary: uploaded 0, skipped 10, deleted 0, failed 0.");
    EXPECT_EQ(stand.temporaryFilesLeft(), std::set<std::string>());
}

TEST_F(Agent, SendsExactlyFiveRequestsForANewFileOnOneConnection) {
    write("Client Notes/Q3 Réport.PDF", "%PDF-1.4 content");
    setUp();
    const json session = json::parse(folder.read("state/session.json"));
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

    // Each with the headers that the agent chose: all but those of the connection itself.
    std::vector<std::string> sent;
    for (const JournalEntry& entry : requests) {
        std::string line = entry.method + " " + entry.target;
        for (const auto& [name, value] : entry.headers) {
            line += name == "Host" || name == "Content-Length" ? "" : " | " + name + ": " + value;
        }
        sent.push_back(entry.text.empty() ? line : line + " | " + entry.text);
        EXPECT_EQ(entry.connection, requests[0].connection);
    }
    const std::string user = session.at("user").at("id");
    const std::string rootID = requests[0].path.substr(requests[0].path.find("root-"), 13);
    const std::string key = "user-" + user + "/" + rootID + "/client-notes-f2de9572/q3-report-753165d7.PDF";
    const std::string common = " | apikey: local-anon-key | accept: application/json | Authorization: Bearer " +
                               session.at("access_token").get<std::string>();
    const std::string columns =
        "id,user_id,storage_bucket,storage_key,sha256,ingested_sha256,is_deleted,path,bytes,mime,ingest_error";
    const std::string row = R"({"bytes":16,"ingest_error":null,"is_deleted":false,"mime":"application/pdf",)"
                            R"("path":"Client Notes/Q3 Réport.PDF",)"
                            R"("sha256":"c071382684dde891f341c5b691ad04535c7f90fbe574444d198ed4cd8269ba89",)"
                            R"("storage_bucket":"files","storage_key":")" +
                            key + R"(","user_id":")" + user + "\"}";
    const std::string file = project.state().at("files").at(0).at("id");
    const std::string job = R"({"file_id":")" + file + R"(","kind":"ingest","payload":{},"user_id":")" + user + "\"}";
    const std::vector<std::string> expected{
        "POST /storage/v1/object/files/" + key + common +
            " | content-type: application/pdf | cache-control: max-age=3600 | x-upsert: true",
        "GET /auth/v1/user" + common,
        "POST /rest/v1/files?on_conflict=user_id,storage_bucket,storage_key&select=" + columns + common +
            " | Prefer: resolution=merge-duplicates,return=representation | content-type: application/json | " + row,
        "GET /auth/v1/user" + common, "POST /rest/v1/jobs" + common + " | content-type: application/json | " + job};
    EXPECT_EQ(sent, expected);
}

TEST_F(Agent, EndsCleanlyAtAnySignalAlsoInTheMidstOfAnUpload) {
    write("a.txt", "hello");
    setUp();
    for (const int number : {SIGINT, SIGTERM}) {
        project.faults().add(json{{"kind", "stall"}, {"method", "POST"}, {"path", "/storage/*"}});
        const std::unique_ptr<Program> agent = start();
        ASSERT_TRUE(agent->waitForLine("Found 1 files."));
        ASSERT_TRUE(project.faults().waitForStalled(1, Program::patience));
        const auto begin = std::chrono::steady_clock::now();
        agent->signal(number);
        EXPECT_EQ(agent->wait(), 0);
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(2));
        EXPECT_EQ(agent->errors(), "");
        project.faults().clear();
    }
    EXPECT_EQ(folder.read("state/retry-queue.json"), "") << "quitting is no failure of the file";
    end(*start()); // before it is ready for signals, or just then
    EXPECT_EQ(syncOnce(), "Summary: uploaded 1, skipped 0, deleted 0, failed 0.");
}

TEST_F(Agent, FindsTheLocalProjectAsItWasWhenThatIsKilled) {
    std::vector<std::string> words{"--data", folder.at("local"), "--user", stand.account + ":" + stand.password};
    words.insert(words.end(), {"--port-file", folder.at("port")});
    const auto startLocal = [&] {
        std::unique_ptr<Program> local = start("veskline-local-project", words);
        EXPECT_TRUE(
            local->waitForLine("Veskline local project on http://127.0.0.1:" + folder.read("port").substr(0, 5)));
        return local;
    };
    const std::unique_ptr<Program> first = startLocal();
    const std::string port = std::to_string(std::stoi(folder.read("port")));
    words.push_back("--port=" + port);
    environment["SUPABASE_URL"] = "http://127.0.0.1:" + port;
    write("a.txt", "first");
    write("b.txt", "kept");
    setUp();
    EXPECT_EQ(syncOnce(), "Summary: uploaded 2, skipped 0, deleted 0, failed 0.");
    EXPECT_EQ(start("veskline-local-project", words)->wait(), 1) << "the folder is in use";
    first->signal(SIGKILL);
    first->wait();
    const std::unique_ptr<Program> second = startLocal();
    write("a.txt", "second");
    EXPECT_EQ(syncOnce(), "Summary: uploaded 1, skipped 1, deleted 0, failed 0.")
        << "the tokens are good and the rows are there";
    EXPECT_EQ(end(*second), 0);
    EXPECT_EQ(start("veskline-local-project", {"--bogus"})->wait(), 2);
    EXPECT_EQ(start("veskline-local-project", {"--help"})->wait(), 0);
}
