#include "platform/http/HttpTransport.h"

#include "platform/async/Cancelled.h"

namespace platform {

void PendingExchange::succeed(HttpResponse response) noexcept {
    response_ = std::move(response);
    end();
}

void PendingExchange::fail(std::exception_ptr reason) noexcept {
    failure_ = std::move(reason);
    end();
}

void HttpExchange::OnStop::operator()() const noexcept {
    exchange->transport_.operations_->abort(exchange->transport_.transport_, exchange->pending_);
}

bool HttpExchange::begin(async::Executor executor, const std::stop_token& stop, std::coroutine_handle<> waiter) {
    if (stop.stop_requested()) {
        pending_.failure_ = std::make_exception_ptr(async::Cancelled());
        return false;
    }
    pending_.executor_ = executor;
    pending_.waiter_ = waiter;
    // Started first, so that an abort always follows its start. However soon the exchange ends, this frame stays until
    // it is armed.
    transport_.operations_->start(transport_.transport_, pending_);
    onStop_.emplace(stop, OnStop{this});
    return pending_.resumption_.arm();
}

HttpResponse HttpExchange::await_resume() {
    onStop_.reset(); // first: it waits for an abort that is under way on another thread
    if (pending_.failure_) {
        std::rethrow_exception(std::exchange(pending_.failure_, nullptr));
    }
    return std::move(pending_.response_);
}

} // namespace platform
