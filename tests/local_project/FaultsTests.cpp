#include "local_project/ProjectFixture.h"

namespace local_project {

namespace {

class FaultsTest : public ProjectFixture {
protected:
    void add(const json& fault) { ASSERT_EQ(status("POST", "/_local/faults", fault.dump()), 201) << fault; }
    int statusOfUser() { return status("GET", "/auth/v1/user"); }
};

// What the agent meets end to end is not repeated here.
TEST_F(FaultsTest, SpoilTokensWaitAndHitTheAnswerAlone) {
    options_.profile = RefusalProfile::deployed;
    run();
    add({{"kind", "refused-token"}});
    EXPECT_EQ(statusOfUser(), 403);
    EXPECT_EQ(project_->journal().entries().back().fault, "refused-token");
    add({{"kind", "stall"}, {"ms", 1}});
    EXPECT_EQ(statusOfUser(), 200);
    add({{"kind", "status"}, {"path", "/rest/v1/jobs"}, {"after", true}});
    EXPECT_EQ(addJob(addFile("a.txt"), "ingest"), 500);
    EXPECT_EQ(only("jobs")["kind"], "ingest");
    add({{"kind", "expire-tokens"}});
    EXPECT_EQ(statusOfUser(), 403);
    add({{"kind", "revoke-refresh"}});
    EXPECT_EQ(refresh(refreshToken_).status, 400);
}

TEST_F(FaultsTest, PickRequestsByMethodPathTargetAndNumber) {
    run();
    add(json::parse(R"({"kind":"status","method":"GET","path":"/rest/*","target":"limit=[12]$","skip":1,"count":2})"));
    std::vector<int> statuses;
    for (const char* target : {"/rest/v1/jobs?limit=1", "/rest/v1/jobs?limit=2", "/rest/v1/jobs?limit=3",
                               "/auth/v1/user?limit=1", "/rest/v1/files?limit=1", "/rest/v1/jobs?limit=1"}) {
        statuses.push_back(status("GET", target));
    }
    EXPECT_EQ(statuses, (std::vector<int>{200, 500, 200, 200, 500, 200}));
}

TEST_F(FaultsTest, AreRefusedWhereTheyCannotBeRead) {
    run();
    for (const char* description : {"{}", R"([{"kind":"html"},{"kind":"gremlin"}])", R"({"kind":"status","colour":1})",
                                    R"({"kind":"status","rate":2})", R"({"kind":"status","target":"("})"}) {
        EXPECT_EQ(status("POST", "/_local/faults", description), 400) << description;
    }
    EXPECT_EQ(send("GET", "/_local/faults").parsed()["faults"], json::array());
}

} // namespace

} // namespace local_project
