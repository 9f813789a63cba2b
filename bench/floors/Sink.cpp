#include "floors/Floors.h"

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>

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
    long bodyBytes;
};
Seen seen;

void endWithCounts(int) {
    std::array<char, 128> line{};
    const int length = std::snprintf(line.data(), line.size(), "requests %ld connections %ld body %ld\n", seen.requests,
                                     seen.connections, seen.bodyBytes);
    const ssize_t written = write(STDOUT_FILENO, line.data(), static_cast<std::size_t>(length));
    _exit(written == length ? 0 : 1);
}

class Client {
public:
    explicit Client(int socket) : socket_(socket) {}
    ~Client() { close(socket_); }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

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
        seen.bodyBytes += static_cast<long>(bytes);
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
    if (bind(listener, reinterpret_cast<sockaddr*>(&address), length) != 0 || listen(listener, 128) != 0 ||
        getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        std::perror("sink");
        std::exit(1);
    }
    std::printf("port %d\n", ntohs(address.sin_port));
    std::fflush(stdout);
    return listener;
}

void add(int epoll, int socket, Client* client) {
    epoll_event event{.events = EPOLLIN, .data = {.ptr = client}};
    epoll_ctl(epoll, EPOLL_CTL_ADD, socket, &event);
}

void accept(int epoll, int listener) {
    const int socket = accept4(listener, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
    if (socket < 0) {
        return;
    }
    const int on = 1;
    setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    ++seen.connections;
    add(epoll, socket, new Client(socket));
}

} // namespace

void runSink() {
    std::signal(SIGTERM, endWithCounts);
    std::signal(SIGPIPE, SIG_IGN);
    const int listener = listenOnLoopback();
    const int epoll = epoll_create1(EPOLL_CLOEXEC);
    add(epoll, listener, nullptr);
    for (;;) {
        std::array<epoll_event, 64> events{};
        const int count = epoll_wait(epoll, events.data(), static_cast<int>(events.size()), -1);
        for (int at = 0; at < count; ++at) {
            auto* client = static_cast<Client*>(events[static_cast<std::size_t>(at)].data.ptr);
            if (client == nullptr) {
                accept(epoll, listener);
            } else if (!client->read()) {
                delete client;
            }
        }
    }
}

} // namespace floors
