#include "endtoend/AgentFixture.h"

#include "support/OtherConnection.h"

#include <fmt/format.h>
#include <fnmatch.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <set>

namespace veskline::testing {

using nlohmann::json;
using namespace std::chrono_literals;

std::string summaryOf(std::size_t uploaded, std::size_t skipped, std::size_t deleted, std::size_t failed) {
    return fmt::format("Summary: uploaded {}, skipped {}, deleted {}, failed {}.", uploaded, skipped, deleted, failed);
}

::testing::AssertionResult reads(const std::string& told, const std::string& pattern) {
    return ::fnmatch(pattern.c_str(), told.c_str(), FNM_NOESCAPE) == 0
               ? ::testing::AssertionSuccess()
               : ::testing::AssertionFailure() << "told: " << told << "\nexpected: " << pattern;
}

SettledAgent::SettledAgent() {
    write("a.txt", "first");
    write("kept.txt", "kept");
    write("sub/b.txt", "below");
    setUp();
    EXPECT_EQ(syncOnce(), summaryOf(3, 0, 0, 0));
    const json theirs{{"localPath", "/theirs.txt"},
                      {"storageKey", "user-other/theirs.txt"},
                      {"bytes", 1},
                      {"attempts", 0},
                      {"userID", "other"},
                      {"logicalPath", "theirs.txt"}};
    folder.write("state/retry-queue.json", json::array({theirs}).dump());
}

void SettledAgent::expectAllWell() {
    EXPECT_EQ(hosted(), disk());
    EXPECT_EQ(stand.ingested(), disk());
    EXPECT_EQ(stand.remembered(), disk());
    EXPECT_EQ(stand.integrity(), "ok");
    EXPECT_EQ(stand.unreadableStores(), std::set<std::string>());
    EXPECT_EQ(stand.temporaryFilesLeft(), std::set<std::string>());
    const json queue = json::parse(folder.read("state/retry-queue.json"));
    EXPECT_TRUE(queue.size() == 1 && queue.at(0).at("userID") == "other") << queue;
}

void SettledAgent::endAfterTheStart(Program& agent) {
    const auto last = std::chrono::steady_clock::now() + Program::patience;
    while (!agent.waitForLine("Initial scan complete", 1, 10ms) && !agent.waitForLine("Auto-start failed: ", 1, 0ms)) {
        ASSERT_FALSE(agent.isOutputOver()) << agent.wait() << agent.errors();
        ASSERT_LT(std::chrono::steady_clock::now(), last) << ::testing::PrintToString(agent.output());
    }
    EXPECT_EQ(end(agent), 0);
    EXPECT_EQ(agent.errors(), "");
}

void SettledAgent::expectTold(const Program& agent, std::string line) const {
    for (const auto& [mark, value] :
         {std::pair<std::string, const std::string&>("ROOT", root), {"STATE", stand.state}}) {
        for (std::size_t place = 0; (place = line.find(mark)) != std::string::npos;) {
            line.replace(place, mark.size(), value);
        }
    }
    const std::vector<std::string> told = agent.output();
    EXPECT_TRUE(std::ranges::any_of(told, [&line](const std::string& each) { return bool(reads(each, line)); }))
        << line << "\nis not what was told:\n"
        << ::testing::PrintToString(told);
}

void SettledAgent::changeThePreferences() const {
    OtherConnection(stand.state + "/state.sqlite3")
        .run("update preferences set value = value || ' ' where key = 'watched_folders'");
}

} // namespace veskline::testing
