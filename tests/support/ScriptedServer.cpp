#include "support/ScriptedServer.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
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

std::string cutFrom(std::string& text, std::string_view separator) {
    const std::size_t end = text.find(separator);
    std::string piece = text.substr(0, end);
    text.erase(0, end == std::string::npos ? end : end + separator.size());
    return piece;
}

// Puts what comes next behind the input; false where the other side has hung up.
bool receive(int socket, std::string& input) {
    std::array<char, 65536> buffer;
    const ssize_t count = ::recv(socket, buffer.data(), buffer.size(), 0);
    input.append(buffer.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    return count > 0;
}

bool readHead(int socket, std::string& input, RecordedRequest& request) {
    while (!input.contains("\r\n\r\n")) {
        if (!receive(socket, input)) {
            return false;
        }
    }
    std::string head = cutFrom(input, "\r\n\r\n");
    std::string first = cutFrom(head, "\r\n");
    request.method = cutFrom(first, " ");
    request.target = cutFrom(first, " ");
    while (!head.empty()) {
        std::string value = cutFrom(head, "\r\n");
        std::string name = cutFrom(value, ":");
        value.erase(0, value.starts_with(' ') ? 1 : 0);
        request.headers.emplace_back(std::move(name), std::move(value));
    }
    return true;
}

bool readBody(int socket, std::string& input, RecordedRequest& request) {
    std::int64_t announced = 0;
    const std::string text = request.header("Content-Length");
    std::from_chars(text.data(), text.data() + text.size(), announced);
    while (request.bodyBytes < announced) {
        if (input.empty() && !receive(socket, input)) {
            return false;
        }
        const auto count = std::min(input.size(), static_cast<std::size_t>(announced - request.bodyBytes));
        request.body.append(input, 0, std::min(count, keptBytes - request.body.size()));
        request.bodyBytes += static_cast<std::int64_t>(count);
        input.erase(0, count);
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

// False where the connection is not to be kept.
bool send(int socket, const ScriptedReply& reply) {
    const std::string text = encoded(reply);
    std::string_view rest = text;
    while (!rest.empty()) {
        const ssize_t count = ::send(socket, rest.data(), rest.size(), MSG_NOSIGNAL);
        if (count <= 0) {
            break; // the other side has gone: its socket tells so next
        }
        rest.remove_prefix(static_cast<std::size_t>(count));
    }
    return reply.cut == ScriptedReply::Cut::never;
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

std::vector<std::string> ScriptedServer::lines() const {
    std::vector<std::string> lines;
    for (const RecordedRequest& request : requests()) {
        lines.push_back(request.line());
    }
    return lines;
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
    std::string input; // what has come and is not yet taken apart
    while (answerNext(socket, number, input)) {
    }
    const std::lock_guard lock(mutex_);
    ::close(socket);
    sockets_.erase(socket);
}

// False where the connection has ended.
bool ScriptedServer::answerNext(int socket, int number, std::string& input) {
    const auto hangUp = [this] {
        const std::lock_guard lock(mutex_);
        ++hangUps_;
        news_.notify_all();
        return false;
    };
    RecordedRequest request{.connection = number};
    if (!readHead(socket, input, request)) {
        return hangUp();
    }
    if (const auto early = takeReply(request.line(), true)) {
        record(request);
        return send(socket, *early) && (readBody(socket, input, request) || hangUp());
    }
    if (!readBody(socket, input, request)) {
        return hangUp();
    }
    const ScriptedReply reply = takeReply(request.line(), false).value_or(ScriptedReply{.status = 599});
    record(request);
    return (!reply.isHeld || waitForRelease(socket) || hangUp()) && send(socket, reply);
}

// False where the other side hangs up before.
bool ScriptedServer::waitForRelease(int socket) const {
    std::array<pollfd, 2> watched{pollfd{released_, POLLIN, 0}, pollfd{socket, POLLIN, 0}};
    checked(::poll(watched.data(), watched.size(), -1));
    return watched[0].revents != 0;
}

std::optional<ScriptedReply> ScriptedServer::takeReply(const std::string& line, bool comesEarly) {
    const std::lock_guard lock(mutex_);
    const auto place =
        std::ranges::find_if(replies_, [&line](const auto& entry) { return line.contains(entry.first); });
    if (place == replies_.end() || place->second.comesEarly != comesEarly) {
        return std::nullopt;
    }
    ScriptedReply reply = std::move(place->second);
    replies_.erase(place);
    return reply;
}

void ScriptedServer::record(const RecordedRequest& request) {
    const std::lock_guard lock(mutex_);
    requests_.push_back(request);
    news_.notify_all();
}

} // namespace veskline::testing
