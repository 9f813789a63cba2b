#pragma once

#include "platform/async/Spawn.h"
#include "platform/async/ThreadPool.h"
#include "platform/http/CurlTransport.h"
#include "support/ScriptedServer.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <exception>
#include <string>
#include <utility>

namespace platform::testing {

using veskline::testing::ScriptedReply;
using veskline::testing::ScriptedServer;

// A transport with threads to use it from, and a server to talk to.
class TransportFixture : public ::testing::Test {
protected:
    explicit TransportFixture(CurlLimits limits = {}) : curl(limits) {}

    static async::Task<HttpResponse> exchange(HttpTransport transport, HttpRequest request) {
        co_return co_await transport.send(std::move(request));
    }
    HttpResponse send(const HttpRequest& request) {
        return async::runBlocking(pool.executor(), [&] { return exchange(curl.transport(), request); });
    }
    // The words of the failure, or the status of the response.
    std::string outcome(const HttpRequest& request) {
        try {
            return std::to_string(send(request).status);
        } catch (const std::exception& error) {
            return error.what();
        }
    }
    std::string outcomeOf(const std::string& method, const std::string& url) {
        return outcome({.method = method, .url = url});
    }
    std::string outcomeOfUpload(const std::string& path) {
        return outcome({.method = "POST", .url = server.url() + "/object", .body = FileBody{path}});
    }

    TemporaryFolder folder;
    ScriptedServer server;
    async::ThreadPool pool;
    CurlTransport curl;
};

} // namespace platform::testing
