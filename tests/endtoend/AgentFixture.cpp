#include "endtoend/AgentFixture.h"

#include "rules/FileRules.h"

#include <sqlite3.h>

#include <csignal>
#include <cstdlib>

namespace veskline::testing {

namespace {

constexpr const char* email = "ann@example.com";
constexpr const char* password = "a long password";

local_project::Options options(const std::filesystem::path& data) {
    local_project::Options options;
    options.data = data;
    options.users.push_back(local_project::Credentials{email, password});
    return options;
}

} // namespace

AgentFixture::AgentFixture() : root(folder.makeFolder("documents")), project(options(folder.path() / "project")) {
    project.start();
    environment = {{"PATH", "/usr/bin:/bin"},
                   {"HOME", folder.makeFolder("home")},
                   {"LANG", "C.UTF-8"},
                   {"SUPABASE_URL", project.baseUrl()},
                   {"SUPABASE_ANON_KEY", project.options().anonKey},
                   {"DASHBOARD_URL", project.baseUrl() + "/"},
                   {"VESK_STATE_DIR", folder.at("state")},
                   {"VESKLINE_DEMO_EMAIL", email},
                   {"VESKLINE_DEMO_PASSWORD", password}};
    for (const char* const name : {"ASAN_OPTIONS", "UBSAN_OPTIONS", "TSAN_OPTIONS"}) {
        if (const char* const value = std::getenv(name)) {
            environment[name] = value;
        }
    }
}

void AgentFixture::setUp(const std::string& mode, std::vector<std::string> roots) {
    std::vector<std::string> arguments = roots.empty() ? std::vector{root} : std::move(roots);
    arguments.insert(arguments.begin(), mode);
    Program setup("veskline-demo-setup", arguments, environment);
    ASSERT_EQ(setup.wait(), 0);
    project.journal().clear();
}

std::unique_ptr<Program> AgentFixture::startAgent() {
    return std::make_unique<Program>("veskline", std::vector<std::string>{}, environment);
}

std::string AgentFixture::syncOnce() {
    const std::unique_ptr<Program> agent = startAgent();
    EXPECT_TRUE(agent->waitForLine("Initial scan complete")) << "the agent has ended or stands still";
    agent->signal(SIGTERM);
    EXPECT_EQ(agent->wait(), 0);
    return agent->lastLine("Summary: ");
}

std::map<std::string, std::string> AgentFixture::hosted() {
    const nlohmann::json state = project.state();
    std::map<std::string, std::string> objects;
    for (const auto& object : state.at("objects")) {
        objects[object.at("key")] = object.at("sha256");
    }
    std::map<std::string, std::string> files;
    for (const auto& file : state.at("files")) {
        if (!file.at("is_deleted")) {
            const std::string digest = objects[file.at("storage_key")];
            files[file.at("path")] = file.at("sha256") == digest ? digest : "the row differs from the object";
        }
    }
    return files;
}

std::map<std::string, std::string> AgentFixture::disk(const std::vector<std::string>& names) const {
    std::map<std::string, std::string> files;
    for (const std::string& name : names) {
        files[name] = FileRules::sha256Hex(root + "/" + name);
    }
    return files;
}

bool AgentFixture::isDatabaseWhole() const {
    sqlite3* database = nullptr;
    std::string answer;
    sqlite3_open(folder.at("state/state.sqlite3").c_str(), &database);
    sqlite3_exec(
        database, "pragma integrity_check",
        [](void* text, int, char** values, char**) {
            static_cast<std::string*>(text)->append(values[0]);
            return 0;
        },
        &answer, nullptr);
    sqlite3_close(database);
    return answer == "ok";
}

std::vector<std::string> AgentFixture::temporaryFilesLeft() const {
    const std::vector<std::string> known{"state.sqlite3", "session.json", "retry-queue.json"};
    std::vector<std::string> left;
    for (const auto& entry : std::filesystem::directory_iterator(folder.path() / "state")) {
        if (std::ranges::find(known, entry.path().filename().string()) == known.end()) {
            left.push_back(entry.path().filename().string());
        }
    }
    return left;
}

} // namespace veskline::testing
