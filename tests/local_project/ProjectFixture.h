#pragma once

#include "local_project/Caller.h"
#include "local_project/LocalProject.h"

#include <chrono>
#include <filesystem>
#include <map>
#include <memory>
#include <string>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace local_project {

// A project of its own in a folder of its own, and a signed-in client that speaks to it over HTTP.
class ProjectFixture : public testing::Test {
protected:
    ProjectFixture();
    ~ProjectFixture() override;

    // Ends the project that runs, if any, starts one on the same folder with `options_`, and signs in.
    void run();

    // Sends as the signed-in user. A body that starts with { or [ goes out as JSON.
    Reply send(const std::string& method, const std::string& target, const std::string& body = {},
               std::map<std::string, std::string> headers = {});
    Reply signIn(const std::string& email);
    Reply upload(const std::string& key, const std::string& content);

    // Writes a row of `files` for a key, and queues a job for it; return the row's id and the job's reply.
    std::string addFile(const std::string& key);
    Reply addJob(const std::string& fileId, const std::string& kind);
    // The one row that `state()` shows of a table.
    nlohmann::json only(const std::string& table);

    void advance(std::chrono::seconds time) { now_ += time; }

    std::filesystem::path folder_;
    std::chrono::system_clock::time_point now_ = std::chrono::system_clock::from_time_t(1714558830);
    Options options_;
    std::unique_ptr<LocalProject> project_;
    std::unique_ptr<Caller> caller_;
    std::string userId_;
    std::string accessToken_;
    std::string refreshToken_;
};

} // namespace local_project
