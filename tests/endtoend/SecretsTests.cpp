#include "endtoend/AgentFixture.h"

#include <nlohmann/json.hpp>

#include <filesystem>

namespace veskline::testing {

namespace {

using nlohmann::json;

class Secrets : public AgentFixture {
protected:
    // Everything that the agent leaves for others to see: what it said, and its files but for that of the session.
    std::string traces(const Program& agent) const {
        std::string all = agent.errors();
        for (const std::string& line : agent.output()) {
            all += line + "\n";
        }
        for (const auto& entry : std::filesystem::recursive_directory_iterator(folder.path() / "state")) {
            all += entry.path().filename().string() + "\n";
            if (entry.is_regular_file() && entry.path().filename() != "session.json") {
                all += folder.read("state/" + entry.path().filename().string());
            }
        }
        return all;
    }
};

} // namespace

TEST_F(Secrets, AreKeptInTheSessionFileAlone) {
    setUp();
    json session = json::parse(folder.read("state/session.json"));
    const json faults[] = {
        {{"kind", "status"}, {"status", 500}},
        {{"kind", "refused-token"}},
        {{"kind", "redirect"}, {"location", "http://127.0.0.1:1/elsewhere"}},
        {{"kind", "html"}},
        {{"kind", "cut-in-body"}},
    };
    for (json fault : faults) {
        SCOPED_TRACE(fault.dump());
        write("a.txt", fault.dump());
        for (const char* const path : {"/storage/*", "/rest/*"}) {
            fault.update({{"path", path}, {"count", 3}});
            project.faults().add(fault);
        }
        const std::unique_ptr<Program> agent = start();
        ASSERT_TRUE(agent->waitForLine("Initial scan complete"));
        EXPECT_EQ(end(*agent), 0);
        project.faults().clear();
        const std::string seen = traces(*agent);
        for (const json& secret : {session.at("access_token"), session.at("refresh_token"), json(stand.password)}) {
            EXPECT_FALSE(seen.contains(secret.get<std::string>())) << seen;
        }
        session = json::parse(folder.read("state/session.json"));
    }
    using std::filesystem::perms;
    EXPECT_EQ(std::filesystem::status(folder.at("state")).permissions(), perms::owner_all);
    for (const auto& entry : std::filesystem::directory_iterator(folder.path() / "state")) {
        EXPECT_EQ(entry.status().permissions(), perms::owner_read | perms::owner_write) << entry.path();
    }
}

} // namespace veskline::testing
