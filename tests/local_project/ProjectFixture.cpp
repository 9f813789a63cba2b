#include "local_project/ProjectFixture.h"

#include <cstdlib>

#include <fmt/format.h>

namespace local_project {

namespace fs = std::filesystem;
using nlohmann::json;

ProjectFixture::ProjectFixture() {
    std::string name = fs::temp_directory_path() / "local-project.XXXXXX";
    folder_ = ::mkdtemp(name.data());
    options_.data = folder_ / "data";
    options_.users = {{"ada@example.com", "engine-one"}, {"bob@example.com", "engine-two"}};
    options_.clock = [this] { return now_; };
}

ProjectFixture::~ProjectFixture() {
    caller_.reset();
    project_.reset();
    fs::remove_all(folder_);
}

void ProjectFixture::run() {
    caller_.reset();
    project_.reset();
    project_ = std::make_unique<LocalProject>(options_);
    project_->start();
    caller_ = std::make_unique<Caller>(project_->port());
    signIn("ada@example.com");
}

Reply ProjectFixture::signIn(const std::string& email) {
    const std::string password = email.starts_with("ada") ? "engine-one" : "engine-two";
    Reply reply = send("POST", "/auth/v1/token?grant_type=password",
                       fmt::format(R"({{"email":"{}","password":"{}"}})", email, password));
    const json session = reply.json();
    accessToken_ = session.value("access_token", "");
    refreshToken_ = session.value("refresh_token", "");
    userId_ = session.value("/user/id"_json_pointer, "");
    return reply;
}

Reply ProjectFixture::send(const std::string& method, const std::string& target, const std::string& body,
                           std::map<std::string, std::string> headers) {
    headers.emplace("apikey", options_.anonKey);
    headers.emplace("Authorization", "Bearer " + accessToken_);
    if (body.starts_with('{') || body.starts_with('[')) {
        headers.emplace("content-type", "application/json");
    }
    return caller_->send(method, target, headers, body);
}

Reply ProjectFixture::upload(const std::string& key, const std::string& content) {
    return send("POST", "/storage/v1/object/files/" + key, content,
                {{"content-type", "text/plain"}, {"cache-control", "max-age=3600"}, {"x-upsert", "true"}});
}

std::string ProjectFixture::addFile(const std::string& key) {
    const json row = {{"user_id", userId_}, {"path", key},      {"storage_bucket", "files"}, {"storage_key", key},
                      {"bytes", 5},         {"sha256", "aa11"}, {"is_deleted", false},       {"ingest_error", nullptr}};
    const Reply reply = send("POST", "/rest/v1/files?on_conflict=user_id,storage_bucket,storage_key&select=id",
                             row.dump(), {{"Prefer", "resolution=merge-duplicates,return=representation"}});
    EXPECT_EQ(reply.status, 201) << reply.body;
    return reply.status == 201 ? reply.json()[0]["id"].get<std::string>() : std::string();
}

Reply ProjectFixture::addJob(const std::string& fileId, const std::string& kind) {
    const json row = {{"user_id", userId_}, {"file_id", fileId}, {"kind", kind}, {"payload", json::object()}};
    return send("POST", "/rest/v1/jobs", row.dump());
}

json ProjectFixture::only(const std::string& table) {
    const json rows = project_->state()[table];
    EXPECT_EQ(rows.size(), 1U) << rows;
    return rows.empty() ? json() : rows[0];
}

} // namespace local_project
