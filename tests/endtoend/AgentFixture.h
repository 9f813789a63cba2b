#pragma once

#include "endtoend/Program.h"
#include "local_project/LocalProject.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace veskline::testing {

// The built agent, a hosted project in the test's own process, and a folder of documents that the agent syncs by itself
// as soon as it starts.
class AgentFixture : public ::testing::Test {
protected:
    // The path of each document in the hosted table, and the digest of its content.
    using Documents = std::multiset<std::pair<std::string, std::string>>;

    AgentFixture();

    std::string write(std::string_view name, std::string_view content) {
        return folder.write("documents/" + std::string(name), content);
    }
    // Signs in and stores the folders, as a user would in the window.
    void setUp(const std::vector<std::string>& roots);
    void setUp() { setUp({root}); }
    [[nodiscard]] std::unique_ptr<Program> start(const std::string& name = "veskline",
                                                 const std::vector<std::string>& arguments = {});
    // The exit code that the agent gives to a request to end.
    static int end(Program& agent);
    // A start, up to the end of the initial scan, and a clean end; the summary line that it logged.
    std::string syncOnce();

    // What is alive on the hosted side. A row that differs from its object has words for a digest.
    [[nodiscard]] Documents hosted();
    // The supported files on the disk.
    static Documents disk(const std::vector<std::string>& roots);
    [[nodiscard]] Documents disk() const { return disk({root}); }
    // The names in the state folder but for those that belong there.
    [[nodiscard]] std::set<std::string> temporaryFilesLeft() const;
    // What the state database's own check says of it.
    [[nodiscard]] std::string integrity() const;

    const std::string account = "ann@example.com";
    const std::string password = "a long password";
    TemporaryFolder folder;
    std::string root;
    local_project::LocalProject project;
    Program::Environment environment;
};

} // namespace veskline::testing
