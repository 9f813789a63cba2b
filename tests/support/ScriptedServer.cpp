#include "support/ScriptedServer.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <optional>
#include <poll.h>
#include <sstream>
#include <stdexcept>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>

namespace veskline::testing {

namespace {

constexpr std::size_t keptBytes = std::size_t{1} << 20U;

int checked(int result) {
    return result >= 0 ? result : throw std::system_error(errno, std::generic_category(), "the scripted server");
}

int listenOnLoopback() {
    const int socket = checked(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    checked(::bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address));
    checked(::listen(socket, 64));
    return socket;
}

// The next line without its end; absent where the other side has hung up.
std::optional<std::string> readLine(std::FILE* wire) {
    std::string line;
    for (int byte = 0; (byte = std::fgetc(wire)) != EOF; line += static_cast<char>(byte)) {
        if (byte == '\n') {
            return line.substr(0, line.size() - 1);
        }
    }
    return std::nullopt;
}

// This and readBody: false where the other side hangs up before.
bool readHead(std::FILE* wire, RecordedRequest& request) {
    std::istringstream(readLine(wire).value_or("")) >> request.method >> request.target;
    std::optional<std::string> line;
    while ((line = readLine(wire)) && !line->empty()) {
        const std::size_t colon = line->find(':');
        const std::size_t value = line->find_first_not_of(' ', colon + 1);
        request.headers.emplace_back(line->substr(0, colon), value == std::string::npos ? "" : line->substr(value));
    }
    return line.has_value();
}

bool readBody(std::FILE* wire, RecordedRequest& request) {
    std::int64_t missing = 0;
    std::istringstream(request.header("Content-Length")) >> missing;
    std::array<char, 65536> piece;
    for (std::size_t count = 0; missing > 0; missing -= static_cast<std::int64_t>(count)) {
        count = std::fread(piece.data(), 1, std::min(piece.size(), static_cast<std::size_t>(missing)), wire);
        if (count == 0) {
            return false;
        }
        request.body.append(piece.data(), std::min(count, keptBytes - request.body.size()));
        request.bodyBytes += static_cast<std::int64_t>(count);
    }
    return true;
}

// What goes over the wire before the connection is kept or cut.
std::string encoded(const ScriptedReply& reply) {
    using enum ScriptedReply::Cut;
    if (!reply.raw.empty() || reply.cut == beforeHeaders) {
        return reply.raw;
    }
    std::string text = "HTTP/1.1 " + std::to_string(reply.status) + " Scripted\r\n";
    for (const auto& [name, value] : reply.headers) {
        text.append(name).append(": ").append(value).append("\r\n");
    }
    text += "Content-Length: " + std::to_string(reply.body.size()) + "\r\n\r\n";
    return text + reply.body.substr(0, reply.cut == inBody ? reply.body.size() / 2 : reply.body.size());
}

// Waits until one of the two can be read, which a socket also can when the other side hangs up.
bool comesBefore(int event, int socket) {
    std::array<pollfd, 2> watched{pollfd{event, POLLIN, 0}, pollfd{socket, POLLIN, 0}};
    checked(::poll(watched.data(), watched.size(), -1));
    return watched[0].revents != 0;
}

void send(int socket, std::string_view text) {
    while (!text.empty()) {
        const ssize_t count = ::send(socket, text.data(), text.size(), MSG_NOSIGNAL);
        if (count <= 0) {
            return; // the other side has gone: the next reading tells so
        }
        text.remove_prefix(static_cast<std::size_t>(count));
    }
}

} // namespace

std::string RecordedRequest::header(std::string_view name) const {
    const auto place = std::ranges::find(headers, name, &std::pair<std::string, std::string>::first);
    return place != headers.end() ? place->second : "(none)";
}

ScriptedServer::ScriptedServer()
    : listener_(listenOnLoopback()), released_(checked(::eventfd(0, EFD_CLOEXEC))),
      thread_([this] { takeConnections(); }) {}

ScriptedServer::~ScriptedServer() {
    ::shutdown(listener_, SHUT_RDWR);
    thread_.join();
    {
        const std::lock_guard lock(mutex_);
        std::ranges::for_each(sockets_, [](int socket) { ::shutdown(socket, SHUT_RDWR); });
    }
    std::ranges::for_each(connections_, [](std::thread& connection) { connection.join(); });
    ::close(released_);
    ::close(listener_);
}

std::string ScriptedServer::url() const {
    sockaddr_in address{};
    socklen_t size = sizeof address;
    checked(::getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &size));
    return "http://127.0.0.1:" + std::to_string(ntohs(address.sin_port));
}

void ScriptedServer::replyTo(std::string part, ScriptedReply reply) {
    const std::lock_guard lock(mutex_);
    replies_.emplace_back(std::move(part), std::move(reply));
}

void ScriptedServer::release() {
    checked(::eventfd_write(released_, 1));
}

std::vector<RecordedRequest> ScriptedServer::requests() const {
    const std::lock_guard lock(mutex_);
    return requests_;
}

template <class Condition>
void ScriptedServer::waitUntil(Condition condition) {
    std::unique_lock lock(mutex_);
    if (!news_.wait_for(lock, std::chrono::seconds(10), condition)) {
        throw std::runtime_error("the scripted server waited in vain");
    }
}

void ScriptedServer::waitForRequests(std::size_t count) {
    waitUntil([this, count] { return requests_.size() >= count; });
}

void ScriptedServer::waitForHangUps(std::size_t count) {
    waitUntil([this, count] { return hangUps_ >= count; });
}

// Until the listener is shut down.
void ScriptedServer::takeConnections() {
    int number = 0;
    for (int socket = 0; (socket = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC)) >= 0;) {
        const int on = 1;
        ::setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        const std::lock_guard lock(mutex_);
        sockets_.insert(socket);
        connections_.emplace_back([this, socket, at = ++number] { serve(socket, at); });
    }
}

void ScriptedServer::serve(int socket, int number) {
    std::FILE* const wire = ::fdopen(socket, "r");
    while (answerNext(wire, number)) {
    }
    const std::lock_guard lock(mutex_);
    std::fclose(wire);
    sockets_.erase(socket);
}

// False where the connection has ended.
bool ScriptedServer::answerNext(std::FILE* wire, int number) {
    RecordedRequest request{.connection = number};
    if (!readHead(wire, request) || !readBody(wire, request)) {
        return noteHangUp();
    }
    const ScriptedReply reply = takeReply(request);
    if (reply.isHeld && !comesBefore(released_, ::fileno(wire))) {
        return noteHangUp();
    }
    send(::fileno(wire), encoded(reply));
    return reply.cut == ScriptedReply::Cut::never;
}

bool ScriptedServer::noteHangUp() {
    const std::lock_guard lock(mutex_);
    ++hangUps_;
    news_.notify_all();
    return false;
}

// Also records the request, so that whoever waits for it finds its reply taken.
ScriptedReply ScriptedServer::takeReply(const RecordedRequest& request) {
    const std::lock_guard lock(mutex_);
    requests_.push_back(request);
    news_.notify_all();
    const std::string line = request.line();
    const auto place =
        std::ranges::find_if(replies_, [&line](const auto& entry) { return line.contains(entry.first); });
    if (place == replies_.end()) {
        return {.status = 599};
    }
    ScriptedReply reply = std::move(place->second);
    replies_.erase(place);
    return reply;
}

} // namespace veskline::testing
