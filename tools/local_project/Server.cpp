#include "local_project/Server.h"

#include "local_project/Connection.h"

#include <chrono>
#include <condition_variable>
#include <limits>
#include <mutex>
#include <set>
#include <stdexcept>
#include <thread>

#include <fmt/format.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

namespace local_project {

namespace {

constexpr std::size_t threadCount = 128;
constexpr time_t keptSeconds = 3600;
constexpr std::chrono::milliseconds graceOfStop{300};

// The library hands its handlers the request alone; the connection behind it is the one that this thread serves.
thread_local Connection* servedConnection = nullptr;
thread_local Cut plannedCut = Cut::none;

Body::Source sourceOf(const httplib::ContentReader* reader) {
    if (reader == nullptr) {
        return [](const Body::Receiver&) { return true; };
    }
    return [reader](const Body::Receiver& receiver) {
        return (*reader)([&](const char* data, std::size_t size) { return receiver({data, size}); });
    };
}

void hand(const Response& response, httplib::Response& out) {
    out.status = response.status;
    for (const auto& [name, value] : response.headers) {
        out.set_header(name, value);
    }
    if (!response.body.empty()) {
        out.set_content(response.body, response.contentType);
    }
}

// The library's own choice, SO_REUSEPORT, would let two servers share one port without a word.
void refuseSharing(int socket) {
    const int yes = 1;
    ::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof(yes));
}

} // namespace

class Server::Listener : public httplib::Server {
public:
    explicit Listener(local_project::Server::Handler handler);
    ~Listener() override { end(); }

    std::uint16_t begin(std::uint16_t port);
    void end();

private:
    bool process_and_close_socket(socket_t socket) override;
    void serve(Connection& connection);
    void exchange(httplib::Response& out, const httplib::ContentReader* reader) const;
    [[nodiscard]] bool enter(int socket);
    void leave(int socket);

    local_project::Server::Handler handler_;
    std::thread thread_;
    std::mutex mutex_;
    std::condition_variable left_;
    std::set<int> open_;
    std::uint64_t connections_ = 0;
    bool isStopping_ = false;
};

Server::Listener::Listener(local_project::Server::Handler handler) : handler_(std::move(handler)) {
    const auto plain = [this](const httplib::Request&, httplib::Response& out) { exchange(out, nullptr); };
    const auto reading = [this](const httplib::Request&, httplib::Response& out, const httplib::ContentReader& reader) {
        exchange(out, &reader);
    };
    Get("/", plain).Options("/", plain);
    Post("/", reading).Put("/", reading).Patch("/", reading).Delete("/", reading);
    set_socket_options(refuseSharing);
    set_tcp_nodelay(true);
    set_read_timeout(0);
    set_write_timeout(0);
    set_keep_alive_timeout(keptSeconds);
    set_keep_alive_max_count(std::numeric_limits<int>::max());
    new_task_queue = [] { return new httplib::ThreadPool(threadCount); };
}

std::uint16_t Server::Listener::begin(std::uint16_t port) {
    const int bound = port == 0 ? bind_to_any_port("127.0.0.1") : (bind_to_port("127.0.0.1", port) ? port : -1);
    if (bound <= 0) {
        throw std::runtime_error(fmt::format("cannot listen on 127.0.0.1:{}: is the port taken?", port));
    }
    // A longer queue than the library's five: a burst of connections must not wait for a retransmission.
    ::listen(svr_sock_, SOMAXCONN);
    thread_ = std::thread([this] { listen_after_bind(); });
    while (!is_running()) {
        std::this_thread::yield();
    }
    return static_cast<std::uint16_t>(bound);
}

void Server::Listener::end() {
    if (!thread_.joinable()) {
        return;
    }
    std::unique_lock lock(mutex_);
    isStopping_ = true;
    httplib::Server::stop();
    for (const int socket : open_) {
        ::shutdown(socket, SHUT_RD);
    }
    left_.wait_for(lock, graceOfStop, [this] { return open_.empty(); });
    for (const int socket : open_) {
        ::shutdown(socket, SHUT_RDWR);
    }
    lock.unlock();
    thread_.join();
}

bool Server::Listener::enter(int socket) {
    const std::lock_guard lock(mutex_);
    return !isStopping_ && open_.insert(socket).second;
}

void Server::Listener::leave(int socket) {
    const std::lock_guard lock(mutex_);
    open_.erase(socket);
    left_.notify_all();
}

bool Server::Listener::process_and_close_socket(socket_t socket) {
    if (enter(socket)) {
        Connection connection(socket, [this] {
            const std::lock_guard lock(mutex_);
            return ++connections_;
        }());
        serve(connection);
        leave(socket);
    }
    ::shutdown(socket, SHUT_RDWR);
    ::close(socket);
    return true;
}

void Server::Listener::serve(Connection& connection) {
    servedConnection = &connection;
    bool isClosed = false;
    while (!isClosed && connection.readHead()) {
        plannedCut = Cut::none;
        if (!process_request(connection, false, isClosed, nullptr) || !connection.finish(plannedCut)) {
            break;
        }
    }
    servedConnection = nullptr;
}

void Server::Listener::exchange(httplib::Response& out, const httplib::ContentReader* reader) const {
    const Connection& connection = *servedConnection;
    Body body(sourceOf(reader));
    Request request{.head = connection.head(),
                    .path = connection.head().path(),
                    .connection = connection.number(),
                    .body = body,
                    .text = {},
                    .isAbandoned = [&connection] { return connection.isAbandoned(); }};
    const Answer answer = handler_(request);
    hand(answer.response, out);
    plannedCut = answer.cut;
}

Server::Server(Handler handler) : listener_(std::make_unique<Listener>(std::move(handler))) {}

Server::~Server() = default;

std::uint16_t Server::start(std::uint16_t port) {
    return listener_->begin(port);
}

void Server::stop() {
    listener_->end();
}

} // namespace local_project
