#pragma once

#include "local_project/LocalProject.h"
#include "platform/http/TransportError.h"
#include "support/Browser.h"
#include "support/TemporaryFolder.h"

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace local_project {

using nlohmann::json;
using Headers = std::vector<platform::HttpHeader>;

constexpr std::chrono::seconds patience{20};
inline const std::string digest(64, 'a');

// A project of its own in a folder of its own, and a signed-in client that speaks to it over HTTP.
class ProjectFixture : public testing::Test {
protected:
    struct Reply {
        int status = 0; // 0 where the connection was cut
        std::string body;
        std::string contentRange;
        [[nodiscard]] json parsed() const { return json::parse(body, nullptr, false); }
    };

    ProjectFixture() {
        options_.data = folder_.at("data");
        options_.users = {{"ada@example.com", "engine-one"}, {"bob@example.com", "engine-one"}};
        options_.clock = [this] { return now_; };
    }

    // Ends the project that runs, if any, starts one on the same folder with `options_`, and signs in.
    void run() {
        project_.reset();
        project_.emplace(options_).start();
        signIn("ada@example.com");
    }

    // Sends as the signed-in user.
    Reply send(const std::string& method, const std::string& target, const std::string& body = {},
               Headers headers = {}) {
        headers.insert(headers.end(), {{"apikey", options_.anonKey}, {"Authorization", "Bearer " + accessToken_}});
        try {
            const platform::HttpResponse response = browser_.send(
                {.method = method, .url = project_->baseUrl() + target, .headers = headers, .body = body});
            return {response.status, response.body, std::string(response.header("Content-Range").value_or(""))};
        } catch (const platform::TransportError&) {
            return {};
        }
    }
    int status(const std::string& method, const std::string& target, const std::string& body = {}) {
        return send(method, target, body).status;
    }
    void signIn(const std::string& email) {
        const std::string body = fmt::format(R"({{"email":"{}","password":"engine-one"}})", email);
        const json session = send("POST", "/auth/v1/token?grant_type=password", body).parsed();
        accessToken_ = session.value("access_token", "");
        refreshToken_ = session.value("refresh_token", "");
        userId_ = session.value("/user/id"_json_pointer, "");
    }
    Reply refresh(const std::string& token) {
        return send("POST", "/auth/v1/token?grant_type=refresh_token",
                    fmt::format(R"({{"refresh_token":"{}"}})", token));
    }
    // Where the signed-in user's file of this name lies in the bucket.
    std::string keyOf(const std::string& name) { return fmt::format("user-{}/{}", userId_, name); }
    int upload(const std::string& name, const std::string& content) {
        return uploadTo("files/" + keyOf(name), content);
    }
    int uploadTo(const std::string& place, const std::string& content) {
        return send("POST", "/storage/v1/object/" + place, content,
                    {{"content-type", "text/plain"}, {"cache-control", "max-age=3600"}, {"x-upsert", "true"}})
            .status;
    }

    json rowOf(const std::string& name) {
        return {{"user_id", userId_}, {"path", name},     {"storage_bucket", "files"}, {"storage_key", keyOf(name)},
                {"bytes", 5},         {"sha256", digest}, {"is_deleted", false},       {"ingest_error", nullptr}};
    }
    Reply upsert(const json& rows) {
        return send("POST", "/rest/v1/files?on_conflict=user_id,storage_bucket,storage_key&select=id", rows.dump(),
                    {{"Prefer", "resolution=merge-duplicates,return=representation"}});
    }
    // Writes a row of `files`, and queues a job for it; return the row's id and the job's status.
    std::string addFile(const std::string& name) { return upsert(rowOf(name)).parsed().at(0).at("id"); }
    int addJob(const std::string& fileId, const std::string& kind) {
        const json row = {{"user_id", userId_}, {"file_id", fileId}, {"kind", kind}, {"payload", json::object()}};
        return status("POST", "/rest/v1/jobs", row.dump());
    }
    // Uploads a file, adds its row, and waits until the worker has ingested it. Returns the row's id.
    std::string ingest(const std::string& name) {
        upload(name, "text");
        const std::string id = addFile(name);
        EXPECT_EQ(addJob(id, "ingest"), 201);
        EXPECT_TRUE(project_->worker().settle(patience));
        return id;
    }
    void change(const std::string& rows, const std::string& changes) {
        EXPECT_EQ(status("PATCH", "/rest/v1/" + rows, changes), 204);
    }
    // The one row that there is of a table.
    json only(const std::string& table) {
        const json rows = project_->state()[table];
        EXPECT_EQ(rows.size(), 1U) << rows;
        return rows.empty() ? json() : rows[0];
    }

    TemporaryFolder folder_;
    std::chrono::system_clock::time_point now_ = std::chrono::system_clock::from_time_t(1714558830);
    Options options_;
    std::optional<LocalProject> project_;
    veskline::testing::Browser browser_;
    std::string userId_;
    std::string accessToken_;
    std::string refreshToken_;
};

} // namespace local_project
