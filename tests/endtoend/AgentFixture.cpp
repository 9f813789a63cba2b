#include "endtoend/AgentFixture.h"

#include <sqlite3.h>

#include "rules/FileRules.h"

#include <csignal>
#include <cstdlib>

namespace veskline::testing {

AgentFixture::AgentFixture()
    : root(folder.makeFolder("documents")),
      project(local_project::Options{.data = folder.path() / "project", .users = {{account, password}}}) {
    project.start();
    environment = {{"PATH", "/usr/bin:/bin"},
                   {"HOME", folder.makeFolder("home")},
                   {"LANG", "C.UTF-8"},
                   {"SUPABASE_URL", project.baseUrl()},
                   {"SUPABASE_ANON_KEY", project.options().anonKey},
                   {"DASHBOARD_URL", project.baseUrl() + "/"},
                   {"VESK_STATE_DIR", folder.at("state")},
                   {"VESKLINE_DEMO_EMAIL", account},
                   {"VESKLINE_DEMO_PASSWORD", password}};
    for (const char* const name : {"ASAN_OPTIONS", "UBSAN_OPTIONS", "TSAN_OPTIONS"}) {
        if (const char* const value = std::getenv(name)) {
            environment[name] = value;
        }
    }
}

void AgentFixture::setUp(const std::vector<std::string>& roots) {
    std::vector<std::string> arguments{"ultra"};
    arguments.insert(arguments.end(), roots.begin(), roots.end());
    ASSERT_EQ(start("veskline-demo-setup", arguments)->wait(), 0);
    project.journal().clear();
}

std::unique_ptr<Program> AgentFixture::start(const std::string& name, const std::vector<std::string>& arguments) {
    return std::make_unique<Program>(name, arguments, environment);
}

int AgentFixture::end(Program& agent) {
    agent.signal(SIGTERM);
    return agent.wait();
}

std::string AgentFixture::syncOnce() {
    const std::unique_ptr<Program> agent = start();
    EXPECT_TRUE(agent->waitForLine("Initial scan complete")) << "the agent has ended or stands still";
    EXPECT_EQ(end(*agent), 0);
    return agent->lastLine("Summary: ");
}

AgentFixture::Documents AgentFixture::hosted() {
    const nlohmann::json state = project.state();
    std::map<std::string, std::string> objects;
    for (const auto& object : state.at("objects")) {
        objects[object.at("key")] = object.at("sha256");
    }
    Documents documents;
    for (const auto& file : state.at("files")) {
        if (!file.at("is_deleted")) {
            const std::string digest = objects[file.at("storage_key")];
            documents.emplace(file.at("path"), file.at("sha256") == digest ? digest : "not the object's");
        }
    }
    return documents;
}

AgentFixture::Documents AgentFixture::disk(const std::vector<std::string>& roots) {
    Documents documents;
    for (const std::string& each : roots) {
        const FileEnumerationResult found = FileRules::enumerateFiles(each);
        for (const std::string_view path : found.supportedFiles) {
            documents.emplace(FileRules::logicalPath(path, each), FileRules::sha256Hex(std::string(path)));
        }
    }
    return documents;
}

std::set<std::string> AgentFixture::temporaryFilesLeft() const {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder.path() / "state")) {
        names.insert(entry.path().filename());
    }
    for (const char* known : {"state.sqlite3", "session.json", "retry-queue.json"}) {
        names.erase(known);
    }
    return names;
}

std::string AgentFixture::integrity() const {
    sqlite3* database = nullptr;
    std::string answer;
    sqlite3_open(folder.at("state/state.sqlite3").c_str(), &database);
    sqlite3_exec(
        database, "PRAGMA integrity_check",
        [](void* text, int, char** row, char**) {
            *static_cast<std::string*>(text) += row[0];
            return 0;
        },
        &answer, nullptr);
    sqlite3_close(database);
    return answer;
}

} // namespace veskline::testing
