#include "floors/Floors.h"

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <system_error>

// A trivial HTTP/1.1 server on one thread: it reads a head, swallows as many bytes of body as Content-Length says, and
// answers 200 with a row, or with a user where it is asked for one. Connections are kept.

namespace floors {

namespace {

constexpr std::string_view userBody = R"({"id":"8c1f2d3e-5b7a-4e21-9a3c-1234567890ab","email":"you@example.com"})";
constexpr std::string_view rowBody =
    R"([{"id":"0b1f6b1e-0000-4000-8000-000000000001","user_id":"8c1f2d3e-5b7a-4e21-9a3c-1234567890ab",)"
    R"("storage_bucket":"files","storage_key":"k","sha256":"s","ingested_sha256":null,"is_deleted":false,)"
    R"("path":"p","bytes":4096,"mime":"text/plain","ingest_error":null}])";

struct Seen {
    long requests;
    long connections;
};
Seen seen;

void endWithCounts(int) {
    std::array<char, 128> line{};
    const int length =
        std::snprintf(line.data(), line.size(), "requests %ld connections %ld\n", seen.requests, seen.connections);
    const ssize_t written = write(STDOUT_FILENO, line.data(), static_cast<std::size_t>(length));
    _exit(written == length ? 0 : 1);
}

class Client {
public:
    explicit Client(int socket) : socket_(socket) {}
    ~Client() { close(socket_); }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    [[nodiscard]] int socket() const { return socket_; }
    // Takes what has come in; false at the end of the connection.
    bool read() { return bodyLeft_ > 0 ? readBody() : readHead(); }

private:
    bool readBody() {
        static std::array<char, 1U << 20U> scrap;
        const ssize_t count = ::read(socket_, scrap.data(), std::min(scrap.size(), bodyLeft_));
        if (count <= 0) {
            return false;
        }
        return takeBody(static_cast<std::size_t>(count));
    }

    bool readHead() {
        const ssize_t count = ::read(socket_, head_.data() + headBytes_, head_.size() - 1 - headBytes_);
        if (count <= 0) {
            return false;
        }
        headBytes_ += static_cast<std::size_t>(count);
        head_[headBytes_] = '\0';
        const char* end = std::strstr(head_.data(), "\r\n\r\n");
        if (end == nullptr) {
            return true;
        }
        const char* length = strcasestr(head_.data(), "\r\nContent-Length:");
        bodyLeft_ = length != nullptr && length < end ? std::strtoul(length + 17, nullptr, 10) : 0;
        return takeBody(static_cast<std::size_t>(head_.data() + headBytes_ - (end + 4)));
    }

    bool takeBody(std::size_t bytes) {
        bodyLeft_ -= std::min(bytes, bodyLeft_);
        return bodyLeft_ > 0 || answer();
    }

    bool answer() {
        ++seen.requests;
        const bool asksForUser = std::string_view(head_.data()).starts_with("GET /auth/v1/user ");
        const std::string_view body = asksForUser ? userBody : rowBody;
        std::array<char, 1024> answer{};
        const int length =
            std::snprintf(answer.data(), answer.size(),
                          "HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nContent-Length: %zu\r\n\r\n%s",
                          body.size(), body.data());
        headBytes_ = 0;
        return write(socket_, answer.data(), static_cast<std::size_t>(length)) == length;
    }

    int socket_;
    std::size_t headBytes_ = 0;
    std::size_t bodyLeft_ = 0;
    std::array<char, 16384> head_{};
};

int listenOnLoopback() {
    const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{.sin_family = AF_INET, .sin_port = 0, .sin_addr = {.s_addr = htonl(INADDR_LOOPBACK)}};
    socklen_t length = sizeof address;
    auto* const place = reinterpret_cast<sockaddr*>(&address);
    if (bind(listener, place, length) != 0 || listen(listener, 128) != 0 ||
        getsockname(listener, place, &length) != 0) {
        throw std::system_error(errno, std::generic_category(), "sink");
    }
    std::printf("port %d\n", ntohs(address.sin_port));
    std::fflush(stdout);
    return listener;
}

Client* accept(int listener) {
    const int on = 1;
    const int socket = accept4(listener, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
    setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    ++seen.connections;
    return new Client(socket);
}

void wait(int epoll, int socket, Client* client) {
    epoll_event event{.events = EPOLLIN, .data = {.ptr = client}};
    epoll_ctl(epoll, EPOLL_CTL_ADD, socket, &event);
}

} // namespace

bench::Sample sink(Arguments) {
    std::signal(SIGTERM, endWithCounts);
    const int listener = listenOnLoopback();
    const int epoll = epoll_create1(EPOLL_CLOEXEC);
    wait(epoll, listener, nullptr);
    for (;;) {
        epoll_event event{};
        epoll_wait(epoll, &event, 1, -1);
        auto* const client = static_cast<Client*>(event.data.ptr);
        if (client == nullptr) {
            Client* const next = accept(listener);
            wait(epoll, next->socket(), next);
        } else if (!client->read()) {
            delete client;
        }
    }
}

} // namespace floors
