#pragma once

#include "endtoend/Program.h"
#include "local_project/LocalProject.h"
#include "state/records/RemoteFileRecord.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace veskline::testing {

// The built agent, a hosted project in the test's own process, and a folder of documents that the agent syncs by itself
// as soon as it starts.
class AgentFixture : public ::testing::Test {
protected:
    AgentFixture();

    std::string write(std::string_view name, std::string_view content) {
        return folder.write("documents/" + std::string(name), content);
    }
    // Signs in and stores the folders, as a user would in the window.
    void setUp(const std::string& mode = "ultra", std::vector<std::string> roots = {});
    [[nodiscard]] std::unique_ptr<Program> startAgent();
    // A start, up to the end of the initial scan, and a clean end; the summary line that it logged.
    std::string syncOnce();

    // What the hosted side holds of the documents that are alive there, by their path: the digest of the object's
    // bytes where it equals the one of the row, else the words for what is wrong.
    [[nodiscard]] std::map<std::string, std::string> hosted();
    // What the disk holds, in the same form.
    [[nodiscard]] std::map<std::string, std::string> disk(const std::vector<std::string>& names) const;
    [[nodiscard]] bool isDatabaseWhole() const;
    [[nodiscard]] std::vector<std::string> temporaryFilesLeft() const;

    TemporaryFolder folder;
    std::string root;
    local_project::LocalProject project;
    Program::Environment environment;
};

} // namespace veskline::testing
