#pragma once

#include "agent_stand/Program.h"
#include "local_project/LocalProject.h"

#include <filesystem>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace agent_stand {

// What the built agent is tried on: a hosted project in this process, a folder of documents that the agent syncs by
// itself as soon as it starts, and the looks at both sides and at the state between them.
//
// All of it lies in one folder, which the owner makes and removes: `documents`, `state`, `project` and `home`.
class AgentStand {
public:
    // The path of each document, and the digest of its content.
    using Documents = std::multiset<std::pair<std::string, std::string>>;

    explicit AgentStand(std::filesystem::path folder);
    AgentStand(const AgentStand&) = delete;
    AgentStand& operator=(const AgentStand&) = delete;

    // Signs in and stores the folders, as a user would in the window. Throws std::runtime_error with the tool's words.
    void setUp(const std::vector<std::string>& roots);
    void setUp() { setUp({root}); }
    [[nodiscard]] std::unique_ptr<Program> start(const std::string& name = "veskline",
                                                 const std::vector<std::string>& arguments = {}) const;
    // The exit code that the agent gives to a request to end.
    static int end(Program& agent);

    // Waits until the hosted side is done with every request that has come in: what a program leaves behind when it
    // ends must not depend on how fast that is. False where the patience of Program ended before.
    [[nodiscard]] bool finishRequests();

    // What is alive on the hosted side. A row that differs from its object has words for a digest.
    [[nodiscard]] Documents hosted();
    // The same, of what the project's worker has made searchable.
    [[nodiscard]] Documents ingested();
    // The supported files on the disk, by their paths below their root.
    static Documents disk(const std::vector<std::string>& roots);
    [[nodiscard]] Documents disk() const { return disk({root}); }
    // What the state database remembers. Throws std::runtime_error where it can't be read.
    [[nodiscard]] Documents remembered() const;

    // The names in the state folder but for those that belong there.
    [[nodiscard]] std::set<std::string> temporaryFilesLeft() const;
    // What the state database's own check says of it.
    [[nodiscard]] std::string integrity() const;
    // The JSON stores that are there and can't be read as what they are.
    [[nodiscard]] std::set<std::string> unreadableStores() const;

    // The first page of a table of the state database is nonsense from now on, also for whoever holds it in memory.
    void breakTable(const std::string& name) const;

    const std::string account = "ann@example.com";
    const std::string password = "a long password";
    const std::filesystem::path folder;
    const std::string root;
    const std::string state;
    local_project::LocalProject project;
    Program::Environment environment;
};

} // namespace agent_stand
