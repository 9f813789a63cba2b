#pragma once

#include "platform/async/Spawn.h"
#include "platform/async/ThreadPool.h"
#include "platform/http/CurlTransport.h"

#include <cstdlib>
#include <exception>
#include <string>
#include <utility>

namespace veskline::testing {

// Proxy variables do not reach a test's servers. Set before main(), when no other thread can be looking.
inline const int noProxy = ::setenv("no_proxy", "127.0.0.1", 1);

// A transport with threads to use it from.
class Browser {
public:
    explicit Browser(platform::CurlLimits limits = {}) : curl_(limits) {}

    platform::HttpResponse send(const platform::HttpRequest& request) {
        return async::runBlocking(pool_.executor(), [&] { return exchange(curl_.transport(), request); });
    }
    // The words of the failure, or the status of the response.
    std::string outcome(const platform::HttpRequest& request) {
        try {
            return std::to_string(send(request).status);
        } catch (const std::exception& error) {
            return error.what();
        }
    }

private:
    static async::Task<platform::HttpResponse> exchange(platform::HttpTransport transport,
                                                        platform::HttpRequest request) {
        co_return co_await transport.send(std::move(request));
    }
    async::ThreadPool pool_;
    platform::CurlTransport curl_;
};

} // namespace veskline::testing
