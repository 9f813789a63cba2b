#pragma once

#include "platform/async/Spawn.h"
#include "platform/async/ThreadPool.h"
#include "platform/http/CurlTransport.h"

#include <exception>
#include <string>
#include <utility>

namespace platform::testing {

inline async::Task<HttpResponse> exchange(HttpTransport transport, HttpRequest request) {
    co_return co_await transport.send(std::move(request));
}

// A transport with threads to use it from.
struct Browser {
    explicit Browser(CurlLimits limits = {}) : curl(limits) {}

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

    async::ThreadPool pool;
    CurlTransport curl;
};

} // namespace platform::testing
