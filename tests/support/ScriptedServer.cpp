#include "support/ScriptedServer.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <cstdlib>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <stdexcept>
#include <strings.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>

namespace veskline::testing {

namespace {

// Before main(), when no other thread can be looking at the environment.
[[maybe_unused]] const int noProxy = ::setenv("no_proxy", "127.0.0.1", 1);

int checked(int result) {
    return result >= 0 ? result : throw std::system_error(errno, std::generic_category(), "the scripted server");
}

sockaddr_in loopback() {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

int listenOnLoopback() {
    const int socket = checked(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const sockaddr_in address = loopback();
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

RecordedRequest parsedHead(std::string head) {
    RecordedRequest request;
    std::string first = cutFrom(head, "\r\n");
    request.method = cutFrom(first, " ");
    request.target = cutFrom(first, " ");
    while (!head.empty()) {
        std::string value = cutFrom(head, "\r\n");
        std::string name = cutFrom(value, ":");
        value.erase(0, value.starts_with(' ') ? 1 : 0);
        request.headers.emplace_back(std::move(name), std::move(value));
    }
    return request;
}

std::int64_t announcedLength(const RecordedRequest& request) {
    std::int64_t length = 0;
    const std::string text = request.header("Content-Length");
    std::from_chars(text.data(), text.data() + text.size(), length);
    return length;
}

// What goes over the wire before the connection is kept or cut.
std::string encoded(const ScriptedReply& reply) {
    if (!reply.raw.empty()) {
        return reply.raw;
    }
    std::string text = "HTTP/1.1 " + std::to_string(reply.status) + " Scripted\r\n";
    for (const auto& [name, value] : reply.headers) {
        text.append(name).append(": ").append(value).append("\r\n");
    }
    text += "Content-Length: " + std::to_string(reply.body.size()) + "\r\n\r\n";
    using enum ScriptedReply::Cut;
    return reply.cut == beforeHeaders ? ""
           : reply.cut == inBody      ? text + reply.body.substr(0, reply.body.size() / 2)
                                      : text + reply.body;
}

void sendAll(int socket, std::string_view text) {
    while (!text.empty()) {
        const ssize_t count = ::send(socket, text.data(), text.size(), MSG_NOSIGNAL);
        if (count <= 0) {
            return; // the other side has gone: its socket tells so next
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
    : listener_(listenOnLoopback()), wakeUp_(checked(::eventfd(0, EFD_CLOEXEC))), thread_([this] { run(); }) {}

ScriptedServer::~ScriptedServer() {
    {
        const std::lock_guard lock(mutex_);
        isStopping_ = true;
    }
    wake();
    thread_.join();
    ::close(wakeUp_);
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
    {
        const std::lock_guard lock(mutex_);
        isReleased_ = true;
    }
    wake();
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

void ScriptedServer::wake() const {
    const std::uint64_t one = 1;
    checked(static_cast<int>(::write(wakeUp_, &one, sizeof one)));
}

void ScriptedServer::run() {
    for (;;) {
        std::vector<pollfd> watched{{wakeUp_, POLLIN, 0}, {listener_, POLLIN, 0}};
        for (const auto& [socket, connection] : connections_) {
            watched.push_back({socket, POLLIN, 0});
        }
        checked(::poll(watched.data(), watched.size(), -1));
        if (watched[0].revents != 0) {
            std::uint64_t wakes = 0;
            checked(static_cast<int>(::read(wakeUp_, &wakes, sizeof wakes)));
        }
        {
            const std::lock_guard lock(mutex_);
            if (isStopping_) {
                break;
            }
        }
        if (watched[1].revents != 0) {
            takeConnection();
        }
        std::for_each(watched.begin() + 2, watched.end(), [this](const pollfd& polled) {
            if (polled.revents != 0) {
                receive(polled.fd);
            }
        });
        deliverReleased();
    }
    while (!connections_.empty()) {
        drop(connections_.begin()->first);
    }
}

void ScriptedServer::takeConnection() {
    const int socket = checked(::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC));
    const int on = 1;
    ::setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    connections_[socket].number = ++lastNumber_;
}

void ScriptedServer::receive(int socket) {
    const ssize_t count = ::recv(socket, buffer_.data(), buffer_.size(), 0);
    if (count <= 0) {
        drop(socket);
        const std::lock_guard lock(mutex_);
        ++hangUps_;
        news_.notify_all();
        return;
    }
    Connection& connection = connections_.at(socket);
    connection.input.append(buffer_.data(), static_cast<std::size_t>(count));
    while (advance(socket, connection)) {
    }
}

// Takes what has come one step further; false when there is nothing more to take, or no connection any more.
bool ScriptedServer::advance(int socket, Connection& connection) {
    if (connection.held) {
        return false;
    }
    if (!connection.hasHead) {
        if (!connection.input.contains("\r\n\r\n")) {
            return false;
        }
        connection.request = parsedHead(cutFrom(connection.input, "\r\n\r\n"));
        connection.request.connection = connection.number;
        connection.missing = announcedLength(connection.request);
        connection.hasHead = true;
        if (const auto early = takeReply(connection.request.line(), true)) {
            record(connection.request);
            connection.isAnswered = true;
            return deliver(socket, connection, *early);
        }
    }
    constexpr std::size_t keptBytes = std::size_t{1} << 20U;
    const auto count = std::min(connection.input.size(), static_cast<std::size_t>(connection.missing));
    std::string& body = connection.request.body;
    body.append(connection.input, 0, std::min(count, keptBytes - body.size()));
    connection.request.bodyBytes += static_cast<std::int64_t>(count);
    connection.input.erase(0, count);
    connection.missing -= static_cast<std::int64_t>(count);
    return connection.missing == 0 && finishRequest(socket, connection);
}

bool ScriptedServer::finishRequest(int socket, Connection& connection) {
    const RecordedRequest request = std::exchange(connection.request, RecordedRequest());
    connection.hasHead = false;
    if (std::exchange(connection.isAnswered, false)) {
        return true;
    }
    const auto reply = takeReply(request.line(), false).value_or(ScriptedReply{.status = 599});
    record(request);
    if (reply.isHeld) {
        connection.held = reply;
        return false; // deliverReleased() comes after
    }
    return deliver(socket, connection, reply);
}

bool ScriptedServer::deliver(int socket, Connection& connection, const ScriptedReply& reply) {
    sendAll(socket, encoded(reply));
    connection.held.reset();
    if (reply.cut != ScriptedReply::Cut::never) {
        drop(socket);
        return false;
    }
    return true;
}

void ScriptedServer::deliverReleased() {
    {
        const std::lock_guard lock(mutex_);
        if (!isReleased_) {
            return;
        }
    }
    for (auto place = connections_.begin(); place != connections_.end();) {
        const auto [socket, connection] = *place++; // a copy: a cut takes the connection out
        if (connection.held) {
            deliver(socket, connections_.at(socket), *connection.held);
        }
    }
}

void ScriptedServer::drop(int socket) {
    ::close(socket);
    connections_.erase(socket);
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
