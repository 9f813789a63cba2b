#pragma once

#include "agent_stand/AgentStand.h"
#include "agent_stand/Machine.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <csignal>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace veskline::testing {

using agent_stand::AgentStand;
using agent_stand::Machine;
using agent_stand::Program;

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
};

} // namespace veskline::testing
