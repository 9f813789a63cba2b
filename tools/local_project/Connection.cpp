#include "local_project/Connection.h"

#include <algorithm>
#include <cerrno>

#include <poll.h>
#include <sys/socket.h>

namespace local_project {

namespace {

constexpr std::size_t readSize = std::size_t{128} << 10U;
// A request with the ids of tens of thousands of rows in its query is an ordinary one here.
constexpr std::size_t headLimit = std::size_t{16} << 20U;
constexpr std::string_view endOfHead = "\r\n\r\n";

} // namespace

bool Connection::receive() {
    const auto begin = buffer_.begin();
    std::copy(begin + static_cast<std::ptrdiff_t>(position_), begin + static_cast<std::ptrdiff_t>(end_), begin);
    end_ -= position_;
    position_ = 0;
    if (end_ == buffer_.size()) {
        buffer_.resize(std::max(readSize, buffer_.size() * 2));
    }
    ssize_t count = 0;
    do {
        count = ::recv(socket_, buffer_.data() + end_, buffer_.size() - end_, 0);
    } while (count < 0 && errno == EINTR);
    end_ += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
    return count > 0;
}

std::string_view Connection::received() const {
    return std::string_view(buffer_.data(), end_).substr(position_);
}

bool Connection::readHead() {
    std::size_t searched = 0;
    std::size_t length = 0;
    while ((length = received().find(endOfHead, searched)) == std::string_view::npos) {
        searched = received().size() - std::min(received().size(), endOfHead.size() - 1);
        if (searched > headLimit || !receive()) {
            return false;
        }
    }
    const auto parsed = RequestHead::parse(received().substr(0, length));
    position_ += length + endOfHead.size();
    if (!parsed) {
        return false;
    }
    head_ = *parsed;
    framing_ = head_.framing();
    framed_ = 0;
    answer_.clear();
    return true;
}

ssize_t Connection::read(char* target, std::size_t size) {
    if (framed_ < framing_.size()) {
        const auto count = framing_.copy(target, size, framed_);
        framed_ += count;
        return static_cast<ssize_t>(count);
    }
    if (position_ == end_ && !receive()) {
        return -1;
    }
    const auto count = received().copy(target, size);
    position_ += count;
    return static_cast<ssize_t>(count);
}

ssize_t Connection::write(const char* data, std::size_t size) {
    answer_.append(data, size);
    // An interim answer is waited for before the body is sent.
    if (answer_.starts_with("HTTP/1.1 100") && answer_.ends_with(endOfHead)) {
        const bool isSent = send(answer_);
        answer_.clear();
        return isSent ? static_cast<ssize_t>(size) : -1;
    }
    return static_cast<ssize_t>(size);
}

bool Connection::send(std::string_view data) const {
    while (!data.empty()) {
        const auto count = ::send(socket_, data.data(), data.size(), MSG_NOSIGNAL);
        if (count < 0 && errno != EINTR) {
            return false;
        }
        data.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    }
    return true;
}

bool Connection::finish(Cut cut) {
    if (cut == Cut::beforeAnswer) {
        return false;
    }
    if (cut == Cut::insideBody) {
        const auto end = answer_.find(endOfHead);
        const auto body = end == std::string::npos ? answer_.size() : end + endOfHead.size();
        const auto half = body == answer_.size() ? body / 2 : body + (answer_.size() - body) / 2;
        static_cast<void>(send(std::string_view(answer_).substr(0, half)));
        return false;
    }
    return send(answer_);
}

bool Connection::isAbandoned() const {
    pollfd state{.fd = socket_, .events = POLLRDHUP, .revents = 0};
    return ::poll(&state, 1, 0) > 0;
}

void Connection::get_remote_ip_and_port(std::string& address, int& port) const {
    address = "127.0.0.1";
    port = 0;
}

void Connection::get_local_ip_and_port(std::string& address, int& port) const {
    get_remote_ip_and_port(address, port);
}

} // namespace local_project
