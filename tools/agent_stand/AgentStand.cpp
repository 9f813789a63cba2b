#include "agent_stand/AgentStand.h"

#include "rules/FileRules.h"

#include <nlohmann/json.hpp>
#include <sqlite3.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <deque>
#include <fstream>
#include <functional>
#include <map>
#include <stdexcept>

namespace agent_stand {

using local_project::JournalEntry;
using nlohmann::json;
using veskline::FileEnumerationResult;
namespace FileRules = veskline::FileRules;

namespace {

std::string madeFolder(const std::filesystem::path& path) {
    std::filesystem::create_directories(path);
    return path.string();
}

using RowVisitor = std::function<void(char** row)>;

void query(const std::string& database, const char* sql, const RowVisitor& visitor) {
    sqlite3* connection = nullptr;
    sqlite3_open(database.c_str(), &connection);
    const auto visit = [](void* context, int, char** row, char**) {
        (*static_cast<const RowVisitor*>(context))(row);
        return 0;
    };
    // The visitor is only read through this.
    const int result = sqlite3_exec(connection, sql, visit, const_cast<RowVisitor*>(&visitor), nullptr);
    const std::string words = sqlite3_errmsg(connection);
    sqlite3_close(connection);
    if (result != SQLITE_OK) {
        throw std::runtime_error(words);
    }
}

} // namespace

AgentStand::AgentStand(std::filesystem::path theFolder)
    : folder(std::move(theFolder)), root(madeFolder(folder / "documents")), state((folder / "state").string()),
      project(local_project::Options{.data = folder / "project", .users = {{account, password}}}) {
    project.start();
    environment = {{"PATH", "/usr/bin:/bin"},
                   {"HOME", madeFolder(folder / "home")},
                   {"LANG", "C.UTF-8"},
                   {"SUPABASE_URL", project.baseUrl()},
                   {"SUPABASE_ANON_KEY", project.options().anonKey},
                   {"DASHBOARD_URL", project.baseUrl() + "/"},
                   {"VESK_STATE_DIR", state},
                   {"VESKLINE_DEMO_EMAIL", account},
                   {"VESKLINE_DEMO_PASSWORD", password}};
    environment.merge(Program::emptyEnvironment());
}

void AgentStand::setUp(const std::vector<std::string>& roots) {
    std::vector<std::string> arguments{"ultra"};
    arguments.insert(arguments.end(), roots.begin(), roots.end());
    const std::unique_ptr<Program> tool = start("veskline-demo-setup", arguments);
    if (tool->wait() != 0) {
        throw std::runtime_error("the state could not be set up: " + tool->errors());
    }
    project.journal().clear();
}

std::unique_ptr<Program> AgentStand::start(const std::string& name, const std::vector<std::string>& arguments) const {
    return std::make_unique<Program>(name, arguments, environment);
}

int AgentStand::end(Program& agent) {
    agent.signal(SIGTERM);
    return agent.wait();
}

bool AgentStand::finishRequests() {
    const auto isDone = [](const std::deque<JournalEntry>& entries) {
        return std::ranges::all_of(entries, [](const JournalEntry& entry) { return entry.status.has_value(); });
    };
    return project.journal().waitFor(isDone, Program::patience);
}

AgentStand::Documents AgentStand::hosted() {
    const json all = project.state();
    std::map<std::string, std::string> objects;
    for (const auto& object : all.at("objects")) {
        objects[object.at("key")] = object.at("sha256");
    }
    Documents documents;
    for (const auto& file : all.at("files")) {
        if (!file.at("is_deleted")) {
            const std::string digest = objects[file.at("storage_key")];
            documents.emplace(file.at("path"), file.at("sha256") == digest ? digest : "not the object's");
        }
    }
    return documents;
}

AgentStand::Documents AgentStand::ingested() {
    if (!project.worker().settle(Program::patience)) {
        throw std::runtime_error("the project's worker does not come to rest");
    }
    const json all = project.state();
    Documents documents;
    for (const auto& file : all.at("files")) {
        if (!file.at("is_deleted")) {
            const json& digest = file.at("ingested_sha256");
            documents.emplace(file.at("path"), digest.is_string() ? digest.get<std::string>() : "never ingested");
        }
    }
    return documents;
}

AgentStand::Documents AgentStand::disk(const std::vector<std::string>& roots) {
    Documents documents;
    for (const std::string& each : roots) {
        const FileEnumerationResult found = FileRules::enumerateFiles(each);
        for (const std::string_view path : found.supportedFiles) {
            documents.emplace(FileRules::logicalPath(path, each), FileRules::sha256Hex(std::string(path)));
        }
    }
    return documents;
}

AgentStand::Documents AgentStand::remembered() const {
    Documents documents;
    query(state + "/state.sqlite3", "select logical_path, sha256 from files",
          [&documents](char** row) { documents.emplace(row[0], row[1]); });
    return documents;
}

std::set<std::string> AgentStand::temporaryFilesLeft() const {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(state)) {
        names.insert(entry.path().filename());
    }
    for (const char* known : {"state.sqlite3", "session.json", "retry-queue.json"}) {
        names.erase(known);
    }
    return names;
}

std::string AgentStand::integrity() const {
    std::string answer;
    query(state + "/state.sqlite3", "PRAGMA integrity_check", [&answer](char** row) { answer += row[0]; });
    return answer;
}

void AgentStand::breakTable(const std::string& name) const {
    const std::string database = state + "/state.sqlite3";
    std::streamoff page = 0;
    query(database, ("select rootpage from sqlite_master where name = '" + name + "'").c_str(),
          [&page](char** row) { page = std::stoll(row[0]); });
    query(database, "pragma user_version = 1", [](char**) {}); // a change: all pages are read again
    std::fstream file(database, std::ios::binary | std::ios::in | std::ios::out);
    constexpr std::streamoff pageBytes = 4096;
    file.seekp((page - 1) * pageBytes);
    file << std::string(pageBytes, '\xff');
    if (page == 0 || !file.flush()) {
        throw std::runtime_error("could not break the table " + name);
    }
}

std::set<std::string> AgentStand::unreadableStores() const {
    const std::array<std::pair<const char*, bool (json::*)() const noexcept>, 2> stores{
        {{"session.json", &json::is_object}, {"retry-queue.json", &json::is_array}}};
    std::set<std::string> names;
    for (const auto& [name, isWhatItIs] : stores) {
        std::ifstream file(std::filesystem::path(state) / name);
        if (file && !(json::parse(file, nullptr, false).*isWhatItIs)()) {
            names.insert(name);
        }
    }
    return names;
}

} // namespace agent_stand
