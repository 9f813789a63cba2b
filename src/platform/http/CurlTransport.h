#pragma once

#include "platform/async/ThreadPool.h"
#include "platform/http/HttpTransport.h"

#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>

namespace platform {

struct CurlLimits {
    std::chrono::milliseconds connect = std::chrono::seconds(60); // until a connection stands, TLS and all
    std::chrono::seconds stall{60};                               // without a byte either way
    std::size_t bodyBytes = std::size_t{16} << 20U;               // of a response
    std::size_t headerBytes = std::size_t{256} << 10U;            // of a response
    int redirects = 10;
};

// HTTP over the network: one thread at a time drives all exchanges by libcurl's multi interface and keeps connections
// for the next ones. It is a thread of the pool that is given, and only while an exchange is under way: so the thread
// that sends a request waits for the answer itself and goes on with it, and nobody has to be woken in between. It
// speaks HTTP/1.1, so that header names go out as spelled, and sends what the request holds and no header of its own
// but `Host` and `Content-Length`: no cookies, no `Expect`, no `Accept`, no `User-Agent`. The path goes out as it
// stands. TLS is verified against the system's certificates; the proxy variables (curl(1), ENVIRONMENT) count.
//
// Time bounds a stall, not the length of a transfer. A redirect is followed as HttpRedirect.h tells. An upload reads
// its file in small pieces, on the thread that drives; a file that shrinks meanwhile cuts the connection, since the
// announced length can no longer be kept.
//
// Nothing is tried twice, with one exception: where a connection that was kept from an earlier exchange turns out to be
// dead, without one byte of answer, a GET or HEAD goes out once more on a fresh one (RFC 9110, 9.2.2). Whether anything
// else was carried out cannot be told, so it fails.
//
// Owned by whoever builds the engine, thread-safe, destroyed before the pool and the executors that its senders run on.
class CurlTransport {
public:
    // `pool` has a thread to spare for as long as exchanges are under way.
    explicit CurlTransport(async::Executor pool, CurlLimits limits = {});
    // With a thread of its own, for senders that lie on no pool.
    explicit CurlTransport(CurlLimits limits = {});
    // Closes it.
    ~CurlTransport();
    CurlTransport(const CurlTransport&) = delete;
    CurlTransport& operator=(const CurlTransport&) = delete;

    [[nodiscard]] HttpTransport transport() noexcept;

    // For the end of the process: cuts every connection and frees the thread, promptly also where a server is silent.
    // Exchanges that are under way, and later ones, are left as they are: their coroutines never go on.
    // Waits at most `patience` for that: false where a file of an upload lies on a disk that does not answer. The
    // thread that reads it is then left to the end of the process.
    bool close(std::chrono::milliseconds patience) noexcept;

private:
    class Engine;
    static const HttpTransport::Operations operations;

    std::optional<async::ThreadPool> ownPool_;
    std::shared_ptr<Engine> engine_;
};

} // namespace platform
