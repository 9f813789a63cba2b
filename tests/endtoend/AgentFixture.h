#pragma once

#include "agent_stand/AgentStand.h"
#include "agent_stand/Machine.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace veskline::testing {

using agent_stand::AgentStand;
using agent_stand::Machine;
using agent_stand::Program;

// The line that closes a scan.
std::string summaryOf(std::size_t uploaded, std::size_t skipped, std::size_t deleted, std::size_t failed);

// The whole of it: words told for a failure, and none where there is none. The pattern is a glob.
::testing::AssertionResult reads(const std::string& told, const std::string& pattern);

// The built agent on a stand of the case's own.
class AgentFixture : public ::testing::Test {
protected:
    using Documents = AgentStand::Documents;

    std::string write(std::string_view name, std::string_view content) {
        return folder.write("documents/" + std::string(name), content);
    }
    void setUp(const std::vector<std::string>& roots) { stand.setUp(roots); }
    void setUp() { stand.setUp(); }
    [[nodiscard]] std::unique_ptr<Program> start(const std::string& name = "veskline",
                                                 const std::vector<std::string>& arguments = {}) {
        return stand.start(name, arguments);
    }
    // With the machine going wrong below it.
    [[nodiscard]] std::unique_ptr<Program> startOn(const Machine& machine) {
        return std::make_unique<Program>("veskline", std::vector<std::string>(), machine.added(environment));
    }
    static int end(Program& agent) { return AgentStand::end(agent); }
    // Up to the end of the initial scan, and a clean end; the summary line that it logged.
    static std::string finish(Program& agent) {
        EXPECT_TRUE(agent.waitForLine("Initial scan complete")) << "the agent has ended or stands still";
        EXPECT_EQ(end(agent), 0);
        return agent.lastLine("Summary: ");
    }
    std::string syncOnce() { return finish(*start()); }

    [[nodiscard]] Documents hosted() { return stand.hosted(); }
    [[nodiscard]] Documents disk() const { return stand.disk(); }

    TemporaryFolder folder;
    AgentStand stand{folder.path()};
    const std::string& root = stand.root;
    local_project::LocalProject& project = stand.project;
    Program::Environment& environment = stand.environment;
    const std::string agentPath = std::filesystem::read_symlink("/proc/self/exe").parent_path() / "veskline";
};

// With three hosted files, `a.txt`, `kept.txt` and `sub/b.txt`, and a queue that holds another user's upload.
class SettledAgent : public AgentFixture {
public:
    // How the words begin that tell of the state database: a glob for expectTold.
    static std::string stateFile(const std::string& verb) {
        return "The state file \"STATE/state.sqlite3\" on the disk mounted at \"/*\" could not be " + verb + ": ";
    }

protected:
    SettledAgent();

    // Both sides and the state between them agree, and the other user's upload waits as it did.
    void expectAllWell();

    // Of a start, however it ends. Then the agent is asked to end, and does so well.
    static void endAfterTheStart(Program& agent);
    // That the agent logged a line like this one: a glob, with ROOT for the folder of documents and STATE for that of
    // the state.
    void expectTold(const Program& agent, std::string line) const;

    // The next start has something to write: the stored folders are the same by another text.
    void changeThePreferences() const;
};

} // namespace veskline::testing
