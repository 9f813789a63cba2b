#include "local_project/ProjectFixture.h"

#include <thread>

namespace local_project {

using nlohmann::json;

namespace {

constexpr std::chrono::seconds patience{20};

class FaultsTest : public ProjectFixture {
protected:
    FaultsTest() { options_.worker = WorkerPolicy::off; }

    void add(const json& fault) { ASSERT_EQ(send("POST", "/_local/faults", fault.dump()).status, 201) << fault; }
};

TEST_F(FaultsTest, AnswersEachKindOnceAndThenAsUsual) {
    options_.profile = RefusalProfile::deployed;
    run();
    struct Case {
        json fault;
        int status;
        std::string body;
    };
    const std::vector<Case> cases = {
        {{{"kind", "status"}, {"status", 503}, {"body", "busy"}}, 503, "busy"},
        {{{"kind", "refused-token"}}, 403, R"({"code":"bad_jwt","message":"invalid JWT: token is expired"})"},
        {{{"kind", "cut-before"}}, 0, ""},
        {{{"kind", "cut-after"}}, 0, ""},
        {{{"kind", "cut-in-body"}}, 0, ""},
        {{{"kind", "stall"}, {"ms", 1}}, 200, "usual"},
        {{{"kind", "truncate"}}, 200, "half"},
        {{{"kind", "html"}}, 200, "<!doctype html><title>Welcome</title><p>Please sign in to this network."},
        {{{"kind", "wrong-type"}}, 200, "42"},
        {{{"kind", "envelope"}, {"message", "no"}}, 200, R"({"message":"no"})"},
        {{{"kind", "junk"}, {"mib", 2}}, 200, std::string(2U << 20U, 'x')},
        {{{"kind", "redirect"}, {"location", "http://127.0.0.1:1/"}}, 307, ""},
        {{{"kind", "expire-tokens"}}, 403, R"({"code":"bad_jwt","message":"invalid JWT: token is expired"})"},
    };
    const std::string usual = send("GET", "/auth/v1/user").body;
    for (const Case& once : cases) {
        add(once.fault);
        const Reply reply = send("GET", "/auth/v1/user");
        EXPECT_EQ(reply.status, once.status) << once.fault;
        const std::string expected = once.body == "usual"  ? usual
                                     : once.body == "half" ? usual.substr(0, usual.size() / 2)
                                                           : once.body;
        EXPECT_EQ(reply.body, expected) << once.fault;
        EXPECT_EQ(project_->journal().entries().back().fault, once.fault.value("kind", ""));
    }
    signIn("ada@example.com");
    EXPECT_EQ(send("GET", "/auth/v1/user").body, usual);
}

TEST_F(FaultsTest, CutsInsideTheBody) {
    run();
    add({{"kind", "cut-in-body"}, {"path", "/rest/v1/files"}});
    const std::string answer = exchangeRaw(project_->port(), "GET /rest/v1/files HTTP/1.1\r\n\r\n");
    const auto body = answer.find("\r\n\r\n");
    ASSERT_NE(body, std::string::npos);
    EXPECT_NE(answer.find("Content-Length: 90"), std::string::npos) << answer;
    EXPECT_EQ(answer.size() - body - 4, 45U);
}

TEST_F(FaultsTest, PicksRequestsByMethodPathTargetAndNumber) {
    run();
    add({{{"kind", "status"},
          {"method", "GET"},
          {"path", "/rest/*"},
          {"target", "limit=[12]$"},
          {"skip", 1},
          {"count", 2}}});
    std::vector<int> statuses;
    for (const char* target : {"/rest/v1/jobs?limit=1", "/rest/v1/jobs?limit=2", "/rest/v1/jobs?limit=3",
                               "/auth/v1/user?limit=1", "/rest/v1/files?limit=1", "/rest/v1/jobs?limit=1"}) {
        statuses.push_back(send("GET", target).status);
    }
    EXPECT_EQ(statuses, (std::vector<int>{200, 500, 200, 200, 500, 200}));
    const json rule = send("GET", "/_local/faults").json()["faults"][0];
    EXPECT_EQ(rule["matched"], 4);
    EXPECT_EQ(rule["applied"], 2);
}

TEST_F(FaultsTest, DrawsTheSameRequestsFromTheSameSeed) {
    std::vector<std::vector<int>> runs;
    for (const std::uint64_t seed : {7U, 7U, 8U}) {
        options_.seed = seed;
        run();
        add({{"kind", "status"}, {"rate", 0.5}});
        for (auto& statuses = runs.emplace_back(); statuses.size() < 64;) {
            statuses.push_back(send("GET", "/rest/v1/jobs?limit=1").status);
        }
    }
    EXPECT_EQ(runs[0], runs[1]);
    EXPECT_NE(runs[0], runs[2]);
    const auto failures = std::ranges::count(runs[0], 500);
    EXPECT_TRUE(failures > 16 && failures < 48) << failures;
}

TEST_F(FaultsTest, HandlesARequestBeforeItFails) {
    run();
    add({{"kind", "status"}, {"method", "POST"}, {"path", "/rest/v1/jobs"}, {"after", true}});
    const std::string file = addFile("a.txt");
    EXPECT_EQ(addJob(file, "ingest").status, 500);
    EXPECT_EQ(only("jobs")["status"], "queued");
    add({{"kind", "revoke-refresh"}});
    send("GET", "/auth/v1/user");
    EXPECT_EQ(
        send("POST", "/auth/v1/token?grant_type=refresh_token", "{\"refresh_token\":\"" + refreshToken_ + "\"}").status,
        400);
}

TEST_F(FaultsTest, StallsUntilReleased) {
    run();
    add({{"kind", "stall"}, {"path", "/rest/v1/jobs"}});
    Reply stalled;
    std::thread client([&] { stalled = send("GET", "/rest/v1/jobs"); });
    EXPECT_TRUE(project_->faults().waitForStalled(1, patience));
    EXPECT_FALSE(project_->journal().entries().back().status) << "it is under way";
    Caller another(project_->port());
    EXPECT_EQ(another.send("GET", "/_local/faults", {}).json()["stalled"], 1);
    EXPECT_EQ(another.send("POST", "/_local/faults/release", {}).status, 204);
    EXPECT_TRUE(
        project_->journal().waitFor([](const auto& entries) { return entries.back().status == 200; }, patience));
    client.join();
    EXPECT_EQ(stalled.status, 200);
}

TEST_F(FaultsTest, EndsWhileRequestsAreStalledAndConnectionsKept) {
    run();
    Caller kept(project_->port());
    kept.send("GET", "/_local/state", {});
    add({{"kind", "stall"}, {"path", "/rest/v1/jobs"}});
    Reply stalled{.status = -1, .body = {}};
    std::thread client([&] { stalled = send("GET", "/rest/v1/jobs"); });
    EXPECT_TRUE(project_->faults().waitForStalled(1, patience));
    project_->stop();
    client.join();
    EXPECT_EQ(stalled.status, 0);
    EXPECT_EQ(kept.send("GET", "/_local/state", {}).status, 0);
}

TEST_F(FaultsTest, RefusesADescriptionThatCannotBeRead) {
    run();
    for (const char* description : {"no json", "{}", R"({"kind":"gremlin"})", R"({"kind":"status","colour":1})",
                                    R"({"kind":"status","status":"500"})", R"({"kind":"status","rate":2})",
                                    R"({"kind":"status","target":"("})", R"([{"kind":"html"},{"kind":"gremlin"}])"}) {
        EXPECT_EQ(send("POST", "/_local/faults", description).status, 400) << description;
    }
    EXPECT_EQ(send("GET", "/_local/faults").json()["faults"], json::array());
}

} // namespace

} // namespace local_project
