#pragma once

#include "hosted/SupabaseHTTPClient.h"
#include "platform/async/Spawn.h"
#include "platform/async/ThreadPool.h"
#include "platform/http/CurlTransport.h"
#include "state/SessionStore.h"
#include "support/ScriptedServer.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <exception>
#include <string>

namespace veskline::testing {

// A client with a stored session, against a scripted service.
class HostedFixture : public ::testing::Test {
public:
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
        try {
            run(body);
            return "(none)";
        } catch (const std::exception& error) {
            return error.what();
        }
    }
    void store(const StoredSession& stored) {
        run([&] { return sessionStore.save(stored); });
    }
    std::optional<StoredSession> stored() {
        return run([&] { return sessionStore.load(); });
    }
    nlohmann::json sentBody(std::size_t index) const { return nlohmann::json::parse(server.requests().at(index).body); }
    // The bearer tokens of all requests, in order.
    std::string tokens() const {
        std::string tokens;
        for (const RecordedRequest& request : server.requests()) {
            tokens += request.header("Authorization") + ", ";
        }
        return tokens;
    }
    void SetUp() override { store(session("old")); }

    TemporaryFolder folder;
    ScriptedServer server;
    async::ThreadPool pool;
    platform::CurlTransport curl;
    SessionStore sessionStore{pool.executor(), StorePlace{.path = folder.at("session.json")}, std::nullopt};
    PublicConfig config{.supabaseURL = server.url() + "/configured?path=gone", .supabaseAnonKey = "anon"};
    SupabaseHTTPClient client{config, sessionStore, curl.transport(), pool.executor()};
};

} // namespace veskline::testing
