#pragma once

#include "hosted/SupabaseHTTPClient.h"
#include "state/SessionStore.h"
#include "support/Browser.h"
#include "support/Failure.h"
#include "support/ScriptedServer.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <ranges>
#include <string>
#include <vector>

namespace veskline::testing {

using Lines = std::vector<std::string>;

// A client with a stored session, against a scripted service.
class HostedFixture : public ::testing::Test {
protected:
    static StoredSession session(const std::string& name) {
        return {.accessToken = name, .refreshToken = name + "-refresh", .user = StoredUser{.id = "stored"}};
    }
    // The body of a refresh that gives session(name), but for the user.
    static std::string renewed(const std::string& name) {
        return R"({"access_token": ")" + name + R"(", "refresh_token": ")" + name + R"(-refresh"})";
    }

    // The result of an operation, which `body` starts.
    template <class Body>
    auto run(Body body) {
        return async::runBlocking(pool.executor(), body);
    }
    // The words of its failure.
    template <class Body>
    std::string failure(Body body) {
        return failureOf([&] { run(body); });
    }
    std::string fetchFailure() {
        return failure([this] { return client.fetchRemoteFile("key"); });
    }
    void store(const StoredSession& stored) {
        run([&] { return sessionStore.save(stored); });
    }
    std::optional<StoredSession> stored() {
        return run([&] { return sessionStore.load(); });
    }
    // A line for each request: its line, headers and body, without the headers that every request has to have first.
    Lines sent() const {
        const Headers first{{"Host", server.url().substr(7)}, {"apikey", "anon"}, {"accept", "application/json"}};
        Lines lines;
        for (const RecordedRequest& request : server.requests()) {
            std::string line = request.line();
            EXPECT_TRUE(std::ranges::equal(request.headers | std::views::take(first.size()), first)) << line;
            for (const auto& [name, value] : request.headers | std::views::drop(first.size())) {
                line += name == "Content-Length" ? "" : " | " + name + ": " + value;
            }
            lines.push_back(request.body.empty() ? line : line + " | " + request.body);
        }
        return lines;
    }
    void SetUp() override { store(session("old")); }

    const std::string authorized = " | Authorization: Bearer old";
    const std::string json = " | content-type: application/json | ";
    const std::string columns =
        "select=id,user_id,storage_bucket,storage_key,sha256,ingested_sha256,is_deleted,path,bytes,mime,ingest_error";

    TemporaryFolder folder;
    ScriptedServer server;
    async::ThreadPool pool;
    platform::CurlTransport curl{pool.executor()};
    SessionStore sessionStore{pool.executor(), StorePlace{.path = folder.at("session.json")}, std::nullopt};
    PublicConfig config{.supabaseURL = server.url() + "/configured?path=gone", .supabaseAnonKey = "anon"};
    SupabaseHTTPClient client{config, sessionStore, curl.transport(), pool.executor()};
};

} // namespace veskline::testing
