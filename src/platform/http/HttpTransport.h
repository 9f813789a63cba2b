#pragma once

#include "platform/async/Executor.h"
#include "platform/async/Resumption.h"
#include "platform/http/HttpMessage.h"

#include <coroutine>
#include <cstdint>
#include <exception>
#include <optional>
#include <stop_token>
#include <utility>

// Sending a request and waiting for its response. CurlTransport does it over the network; a test or a simulation gives
// operations of its own.

namespace platform {

// An exchange under way, as a transport sees it. It lies in the sender's frame, which stays until the transport has
// called succeed() or fail(): exactly one of them, once, on any thread, also within start(). Neither may be followed
// by another look at the exchange.
class PendingExchange {
public:
    explicit PendingExchange(HttpRequest request) : request(std::move(request)) {}

    void succeed(HttpResponse response) noexcept;
    void fail(std::exception_ptr reason) noexcept;

    HttpRequest request;      // the transport's to read, and to move from
    std::uint64_t ticket = 0; // the transport's to use, by start() and abort() alone

private:
    friend class HttpExchange;
    void end() noexcept { resumption_.fire(executor_, waiter_); }

    HttpResponse response_;
    std::exception_ptr failure_;
    async::Resumption resumption_;
    async::Executor executor_;
    std::coroutine_handle<> waiter_;
};

class HttpExchange;

// A value; the transport behind it outlives every copy and every exchange.
class HttpTransport {
public:
    struct Operations {
        // Begins the exchange; called on the sender's executor, at most once for each.
        void (*start)(void* transport, PendingExchange& exchange) noexcept;
        // Ends it soon as async::Cancelled, also on the wire. Called on any thread, after start(); does nothing to an
        // exchange that has ended.
        void (*abort)(void* transport, PendingExchange& exchange) noexcept;
    };

    constexpr HttpTransport(const Operations& operations, void* transport)
        : operations_(&operations), transport_(transport) {}

    // `co_await transport.send(std::move(request))`: the response, whatever its status, once its body is there whole.
    // Throws TransportError; FileError where the file of the body cannot be opened or read; async::Cancelled at once
    // and with nothing sent in a cancelled task, and as soon as a task is cancelled while it waits.
    [[nodiscard]] HttpExchange send(HttpRequest request) const;

private:
    friend class HttpExchange;
    const Operations* operations_;
    void* transport_;
};

class [[nodiscard]] HttpExchange {
public:
    HttpExchange(HttpTransport transport, HttpRequest request) : transport_(transport), pending_(std::move(request)) {}
    HttpExchange(const HttpExchange&) = delete;
    HttpExchange& operator=(const HttpExchange&) = delete;

    bool await_ready() const noexcept { return false; }
    template <class P>
    [[gnu::noinline]] bool await_suspend(std::coroutine_handle<P> waiter) {
        return begin(waiter.promise().state.executor, *waiter.promise().state.stop, waiter);
    }
    [[nodiscard]] HttpResponse await_resume();

private:
    struct OnStop {
        HttpExchange* exchange;
        void operator()() const noexcept;
    };
    bool begin(async::Executor executor, const std::stop_token& stop, std::coroutine_handle<> waiter);

    HttpTransport transport_;
    PendingExchange pending_;
    std::optional<std::stop_callback<OnStop>> onStop_;
};

inline HttpExchange HttpTransport::send(HttpRequest request) const {
    return {*this, std::move(request)};
}

} // namespace platform
