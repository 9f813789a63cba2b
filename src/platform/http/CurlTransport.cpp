#include "platform/http/CurlTransport.h"

#include "platform/async/Cancelled.h"
#include "platform/http/CurlExchange.h"
#include "platform/http/TransportError.h"

#include <csignal>
#include <mutex>
#include <new>
#include <pthread.h>
#include <stdexcept>
#include <thread>
#include <unordered_map>
#include <utility>
#include <vector>

namespace platform {

namespace {

constexpr long keptConnections = 8;
constexpr std::size_t keptHandles = 8;

struct MultiCleanup {
    void operator()(CURLM* multi) const noexcept { curl_multi_cleanup(multi); }
};
using MultiHandle = std::unique_ptr<CURLM, MultiCleanup>;

MultiHandle makeMulti() {
    static const CURLcode ready = curl_global_init(CURL_GLOBAL_DEFAULT);
    MultiHandle multi(ready == CURLE_OK ? curl_multi_init() : nullptr);
    if (!multi) {
        throw std::runtime_error("The HTTP library could not be started");
    }
    curl_multi_setopt(multi.get(), CURLMOPT_MAXCONNECTS, keptConnections);
    return multi;
}

// Signals are for the threads that expect them; and a lost TLS connection would raise SIGPIPE here.
void blockSignals() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, nullptr);
}

std::unique_ptr<FileBodyReader> openBody(const HttpRequest& request) {
    const FileBody* const body = std::get_if<FileBody>(&request.body);
    return body != nullptr ? std::make_unique<FileBodyReader>(body->path) : nullptr;
}

} // namespace

// What senders ask for goes through news_, under the lock. Everything of libcurl but the wake-up is the thread's alone.
class CurlTransport::Engine {
public:
    explicit Engine(CurlLimits limits) : limits_(limits), multi_(makeMulti()), thread_([this] { run(); }) {}

    void start(PendingExchange& pending) noexcept;
    void abort(const PendingExchange& pending) noexcept;
    void close() noexcept;

private:
    struct Arrival {
        std::uint64_t ticket;
        PendingExchange* pending;
        std::unique_ptr<FileBodyReader> file;
    };
    struct News {
        std::vector<Arrival> arrivals;
        std::vector<std::uint64_t> aborted;
        bool isClosed = false;
    };
    using Exchanges = std::unordered_map<std::uint64_t, std::unique_ptr<CurlExchange>>;

    void run();
    bool takeNews();
    void begin(Arrival arrival);
    void abort(std::uint64_t ticket);
    void settleFinished();
    void settle(Exchanges::iterator place, CURLcode result);
    void retire(Exchanges::iterator place);
    void dropAll();
    CurlHandle takeHandle();

    const CurlLimits limits_;
    std::mutex mutex_;
    News news_;
    std::uint64_t lastTicket_ = 0;

    MultiHandle multi_;
    Exchanges exchanges_;
    std::vector<CurlHandle> idleHandles_;
    std::thread thread_;
};

// A failed start is told after its handler, so that the sender alone holds the exception.
void CurlTransport::Engine::start(PendingExchange& pending) noexcept {
    std::exception_ptr reason;
    try {
        Arrival arrival{.ticket = 0, .pending = &pending, .file = openBody(pending.request)};
        const std::lock_guard lock(mutex_);
        if (news_.isClosed) {
            return;
        }
        arrival.ticket = pending.ticket = ++lastTicket_;
        news_.arrivals.push_back(std::move(arrival));
        curl_multi_wakeup(multi_.get());
    } catch (...) {
        reason = std::current_exception();
    }
    if (reason) {
        pending.fail(std::move(reason));
    }
}

void CurlTransport::Engine::abort(const PendingExchange& pending) noexcept {
    const std::lock_guard lock(mutex_);
    if (!news_.isClosed) {
        news_.aborted.push_back(pending.ticket);
        curl_multi_wakeup(multi_.get());
    }
}

void CurlTransport::Engine::close() noexcept {
    {
        const std::lock_guard lock(mutex_);
        if (!std::exchange(news_.isClosed, true)) {
            curl_multi_wakeup(multi_.get());
        }
    }
    if (thread_.joinable()) {
        thread_.join();
    }
}

void CurlTransport::Engine::run() {
    constexpr int longestWait = 3'600'000; // ms; libcurl's own timers and the wake-up come before
    blockSignals();
    while (takeNews()) {
        int running = 0;
        curl_multi_perform(multi_.get(), &running);
        settleFinished();
        curl_multi_poll(multi_.get(), nullptr, 0, longestWait, nullptr);
    }
    dropAll();
}

// False once the transport is closed. An abort follows its start, so that it finds the exchange unless that has ended.
bool CurlTransport::Engine::takeNews() {
    News news;
    {
        const std::lock_guard lock(mutex_);
        if (news_.isClosed) {
            return false;
        }
        news = std::exchange(news_, News());
    }
    for (Arrival& arrival : news.arrivals) {
        begin(std::move(arrival));
    }
    for (const std::uint64_t ticket : news.aborted) {
        abort(ticket);
    }
    return true;
}

void CurlTransport::Engine::begin(Arrival arrival) {
    std::exception_ptr reason;
    try {
        auto exchange =
            std::make_unique<CurlExchange>(*arrival.pending, std::move(arrival.file), takeHandle(), limits_);
        exchange->prepare();
        CURL* const handle = exchange->handle();
        exchanges_.emplace(arrival.ticket, std::move(exchange));
        if (curl_multi_add_handle(multi_.get(), handle) != CURLM_OK) {
            throw TransportError("The request could not be started");
        }
    } catch (...) {
        reason = std::current_exception();
    }
    if (reason) {
        exchanges_.erase(arrival.ticket);
        arrival.pending->fail(std::move(reason));
    }
}

void CurlTransport::Engine::abort(std::uint64_t ticket) {
    const auto place = exchanges_.find(ticket);
    if (place != exchanges_.end()) {
        curl_multi_remove_handle(multi_.get(), place->second->handle()); // closes its connection
        place->second->fail(std::make_exception_ptr(async::Cancelled()));
        retire(place);
    }
}

void CurlTransport::Engine::settleFinished() {
    int left = 0;
    while (const CURLMsg* const message = curl_multi_info_read(multi_.get(), &left)) {
        char* exchange = nullptr;
        curl_easy_getinfo(message->easy_handle, CURLINFO_PRIVATE, &exchange);
        settle(exchanges_.find(reinterpret_cast<CurlExchange*>(exchange)->ticket()), message->data.result);
    }
}

void CurlTransport::Engine::settle(Exchanges::iterator place, CURLcode result) {
    CurlExchange& exchange = *place->second;
    curl_multi_remove_handle(multi_.get(), exchange.handle());
    if (exchange.goesOn(result)) {
        if (curl_multi_add_handle(multi_.get(), exchange.handle()) == CURLM_OK) {
            return;
        }
        exchange.fail(std::make_exception_ptr(TransportError("The redirected request could not be started")));
    }
    retire(place);
}

void CurlTransport::Engine::retire(Exchanges::iterator place) {
    if (idleHandles_.size() < keptHandles) {
        idleHandles_.push_back(place->second->takeHandle());
    }
    exchanges_.erase(place);
}

CurlHandle CurlTransport::Engine::takeHandle() {
    if (!idleHandles_.empty()) {
        CurlHandle handle = std::move(idleHandles_.back());
        idleHandles_.pop_back();
        return handle;
    }
    CurlHandle handle(curl_easy_init());
    if (!handle) {
        throw std::bad_alloc();
    }
    return handle;
}

void CurlTransport::Engine::dropAll() {
    for (const auto& [ticket, exchange] : exchanges_) {
        curl_multi_remove_handle(multi_.get(), exchange->handle());
    }
    exchanges_.clear();
    idleHandles_.clear();
    multi_.reset();
}

const HttpTransport::Operations CurlTransport::operations{
    .start = [](void* engine, PendingExchange& exchange) noexcept { static_cast<Engine*>(engine)->start(exchange); },
    .abort = [](void* engine, PendingExchange& exchange) noexcept { static_cast<Engine*>(engine)->abort(exchange); },
};

CurlTransport::CurlTransport(CurlLimits limits) : engine_(std::make_unique<Engine>(limits)) {}

CurlTransport::~CurlTransport() {
    engine_->close();
}

HttpTransport CurlTransport::transport() noexcept {
    return {operations, engine_.get()};
}

void CurlTransport::close() noexcept {
    engine_->close();
}

} // namespace platform
