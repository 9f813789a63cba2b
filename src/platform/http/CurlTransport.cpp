#include "platform/http/CurlTransport.h"

#include "platform/async/Cancelled.h"
#include "platform/http/CurlExchange.h"
#include "platform/http/TransportError.h"

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <thread>
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

std::unique_ptr<FileBodyReader> openBody(const HttpRequest& request) {
    const FileBody* const body = std::get_if<FileBody>(&request.body);
    return body != nullptr ? std::make_unique<FileBodyReader>(body->path) : nullptr;
}

} // namespace

// What senders ask for goes through news_, under the lock. Everything of libcurl but the wake-up belongs to the one
// drive that is queued or runs: a job of the pool that lasts as long as an exchange is under way.
class CurlTransport::Engine : public std::enable_shared_from_this<Engine> {
public:
    Engine(CurlLimits limits, async::Executor pool) : limits_(limits), pool_(pool), multi_(makeMulti()) {}

    void start(PendingExchange& pending) noexcept;
    void abort(const PendingExchange& pending) noexcept;
    bool close(std::optional<std::chrono::milliseconds> patience) noexcept;

private:
    struct Arrival {
        std::uint64_t ticket;
        PendingExchange* pending;
        std::unique_ptr<FileBodyReader> file;
    };
    struct News {
        std::vector<Arrival> arrivals;
        std::vector<std::uint64_t> aborted;
    };
    using Exchanges = std::vector<std::unique_ptr<CurlExchange>>; // a handful at most

    enum class Leave { stays, isDone, isClosed };

    void callDriver();
    static void drive(void* engine) noexcept;
    bool beginDrive();
    bool advance();
    Leave leaveIfDone();
    void endDrive();
    static void tell(const Exchanges& ended);
    void takeNews();
    void begin(Arrival arrival);
    void abort(std::uint64_t ticket);
    void settleFinished();
    void settle(CurlExchange& exchange, CURLcode result);
    void retire(CurlExchange& exchange);
    void dropAll();
    CurlHandle takeHandle();

    const CurlLimits limits_;
    const async::Executor pool_;
    std::mutex mutex_;
    std::condition_variable drivesEnded_;
    News news_;
    std::uint64_t lastTicket_ = 0;
    bool isClosed_ = false;
    int drives_ = 0;               // that run: one, and those that tell the last senders
    std::shared_ptr<Engine> self_; // set while a drive is queued or stays: it owns the engine

    MultiHandle multi_;
    Exchanges exchanges_;
    std::vector<CurlHandle> idleHandles_;
    Exchanges ended_; // whose senders are not yet told
};

// A failed start is told after its handler, so that the sender alone holds the exception.
void CurlTransport::Engine::start(PendingExchange& pending) noexcept {
    std::exception_ptr reason;
    try {
        Arrival arrival{.ticket = 0, .pending = &pending, .file = openBody(pending.request)};
        const std::lock_guard lock(mutex_);
        if (isClosed_) {
            return;
        }
        arrival.ticket = pending.ticket = ++lastTicket_;
        callDriver(); // finds the arrival once the lock is free
        news_.arrivals.push_back(std::move(arrival));
    } catch (...) {
        reason = std::current_exception();
    }
    if (reason) {
        pending.fail(std::move(reason));
    }
}

// Without a drive the exchange has ended.
void CurlTransport::Engine::abort(const PendingExchange& pending) noexcept {
    const std::lock_guard lock(mutex_);
    if (!isClosed_ && self_) {
        news_.aborted.push_back(pending.ticket);
        curl_multi_wakeup(multi_.get());
    }
}

// A drive that is queued stays so for ever where its pool was closed: only one that runs is waited for.
bool CurlTransport::Engine::close(std::optional<std::chrono::milliseconds> patience) noexcept {
    const auto haveEnded = [this] { return drives_ == 0; };
    std::unique_lock lock(mutex_);
    isClosed_ = true;
    curl_multi_wakeup(multi_.get());
    if (!patience) {
        drivesEnded_.wait(lock, haveEnded);
    } else if (!drivesEnded_.wait_for(lock, *patience, haveEnded)) {
        return false;
    }
    dropAll();
    return true;
}

// Under the lock. Whoever starts an exchange suspends for it, so that its thread is free to drive.
void CurlTransport::Engine::callDriver() {
    if (self_) {
        curl_multi_wakeup(multi_.get());
        return;
    }
    const async::HandOver here;
    self_ = shared_from_this(); // before the drive, which may run at once
    try {
        pool_.post(async::Job{&Engine::drive, this});
    } catch (...) {
        self_.reset();
        throw;
    }
}

void CurlTransport::Engine::drive(void* engine) noexcept {
    constexpr int longestWait = 3'600'000; // ms; libcurl's own timers and the wake-up come before
    constexpr auto pauseWithoutPoll = std::chrono::milliseconds(10); // without memory, say
    const std::shared_ptr<Engine> self = static_cast<Engine*>(engine)->shared_from_this();
    if (!self->beginDrive()) {
        return;
    }
    while (self->advance()) {
        if (curl_multi_poll(self->multi_.get(), nullptr, 0, longestWait, nullptr) != CURLM_OK) {
            std::this_thread::sleep_for(pauseWithoutPoll);
        }
    }
    self->endDrive();
}

// False once the transport is closed.
bool CurlTransport::Engine::beginDrive() {
    const std::lock_guard lock(mutex_);
    if (isClosed_) {
        self_.reset();
        return false;
    }
    ++drives_;
    return true;
}

void CurlTransport::Engine::endDrive() {
    const std::lock_guard lock(mutex_);
    --drives_;
    drivesEnded_.notify_all();
}

// Moves all exchanges as far as they go without waiting. False when there is nothing to wait for: the drive is over
// then, and the job ends that tells the senders, so that its thread goes on with the first of them.
bool CurlTransport::Engine::advance() {
    int running = 0;
    takeNews();
    curl_multi_perform(multi_.get(), &running);
    settleFinished();
    const Exchanges ended = std::exchange(ended_, Exchanges());
    switch (leaveIfDone()) {
    case Leave::stays:
        tell(ended);
        return true;
    case Leave::isDone: {
        const async::HandOver here;
        tell(ended);
        return false;
    }
    case Leave::isClosed:
        return false;
    }
    return false;
}

// Where it does not stay, the next drive may begin on another thread at once.
CurlTransport::Engine::Leave CurlTransport::Engine::leaveIfDone() {
    const std::lock_guard lock(mutex_);
    if (!isClosed_ && (!exchanges_.empty() || !news_.arrivals.empty())) {
        return Leave::stays;
    }
    self_.reset();
    return isClosed_ ? Leave::isClosed : Leave::isDone;
}

void CurlTransport::Engine::tell(const Exchanges& ended) {
    for (const auto& exchange : ended) {
        exchange->tell();
    }
}

// An abort follows its start, so that it finds the exchange unless that has ended.
void CurlTransport::Engine::takeNews() {
    News news;
    {
        const std::lock_guard lock(mutex_);
        news = std::exchange(news_, News());
    }
    for (Arrival& arrival : news.arrivals) {
        begin(std::move(arrival));
    }
    for (const std::uint64_t ticket : news.aborted) {
        abort(ticket);
    }
}

void CurlTransport::Engine::begin(Arrival arrival) {
    std::exception_ptr reason;
    try {
        auto exchange =
            std::make_unique<CurlExchange>(*arrival.pending, std::move(arrival.file), takeHandle(), limits_);
        exchange->prepare();
        exchanges_.reserve(exchanges_.size() + 1);
        if (curl_multi_add_handle(multi_.get(), exchange->handle()) != CURLM_OK) {
            throw TransportError("The request could not be started");
        }
        exchanges_.push_back(std::move(exchange));
    } catch (...) {
        reason = std::current_exception();
    }
    if (reason) {
        arrival.pending->fail(std::move(reason));
    }
}

void CurlTransport::Engine::abort(std::uint64_t ticket) {
    const auto place = std::ranges::find_if(exchanges_, [&](const auto& one) { return one->ticket() == ticket; });
    if (place != exchanges_.end()) {
        CurlExchange& exchange = **place;
        curl_multi_remove_handle(multi_.get(), exchange.handle()); // closes its connection
        exchange.fail(std::make_exception_ptr(async::Cancelled()));
        retire(exchange);
    }
}

void CurlTransport::Engine::settleFinished() {
    int left = 0;
    while (const CURLMsg* const message = curl_multi_info_read(multi_.get(), &left)) {
        char* exchange = nullptr;
        curl_easy_getinfo(message->easy_handle, CURLINFO_PRIVATE, &exchange);
        settle(*reinterpret_cast<CurlExchange*>(exchange), message->data.result);
    }
}

void CurlTransport::Engine::settle(CurlExchange& exchange, CURLcode result) {
    curl_multi_remove_handle(multi_.get(), exchange.handle());
    if (exchange.goesOn(result)) {
        if (curl_multi_add_handle(multi_.get(), exchange.handle()) == CURLM_OK) {
            return;
        }
        exchange.fail(std::make_exception_ptr(TransportError("The redirected request could not be started")));
    }
    retire(exchange);
}

void CurlTransport::Engine::retire(CurlExchange& exchange) {
    CurlHandle handle = exchange.takeHandle();
    if (idleHandles_.size() < keptHandles) {
        idleHandles_.push_back(std::move(handle));
    }
    const auto place = std::ranges::find(exchanges_, &exchange, &std::unique_ptr<CurlExchange>::get);
    ended_.push_back(std::move(*place));
    exchanges_.erase(place);
}

CurlHandle CurlTransport::Engine::takeHandle() {
    if (!idleHandles_.empty()) {
        CurlHandle handle = std::move(idleHandles_.back());
        idleHandles_.pop_back();
        return handle;
    }
    return CurlExchange::newHandle(limits_);
}

void CurlTransport::Engine::dropAll() {
    for (const auto& exchange : exchanges_) {
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

CurlTransport::CurlTransport(async::Executor pool, CurlLimits limits)
    : engine_(std::make_shared<Engine>(limits, pool)) {}

CurlTransport::CurlTransport(CurlLimits limits)
    : ownPool_(std::in_place, 1), engine_(std::make_shared<Engine>(limits, ownPool_->executor())) {}

CurlTransport::~CurlTransport() {
    engine_->close(std::nullopt);
}

HttpTransport CurlTransport::transport() noexcept {
    return {operations, engine_.get()};
}

bool CurlTransport::close(std::chrono::milliseconds patience) noexcept {
    return engine_->close(patience);
}

} // namespace platform
