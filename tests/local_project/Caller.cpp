#include "local_project/Caller.h"

#include <array>

#include <arpa/inet.h>
#include <httplib.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace local_project {

Caller::Caller(std::uint16_t port) : client_(std::make_unique<httplib::Client>("127.0.0.1", port)) {
    client_->set_keep_alive(true);
    client_->set_tcp_nodelay(true);
    client_->set_url_encode(false);
    client_->set_read_timeout(20);
}

Caller::~Caller() = default;

Reply Caller::send(const std::string& method, const std::string& target,
                   const std::map<std::string, std::string>& headers, const std::string& body) {
    httplib::Request request;
    request.method = method;
    request.path = target;
    request.headers = httplib::Headers(headers.begin(), headers.end());
    request.body = body;
    const auto result = client_->send(request);
    if (!result) {
        return {};
    }
    return {.status = result->status,
            .body = result->body,
            .headers = std::map<std::string, std::string>(result->headers.begin(), result->headers.end())};
}

std::string exchangeRaw(std::uint16_t port, const std::string& bytes) {
    const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    std::string answer;
    if (::connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0 &&
        ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(bytes.size())) {
        ::shutdown(socket, SHUT_WR);
        std::array<char, 4096> piece{};
        for (ssize_t count = 0; (count = ::recv(socket, piece.data(), piece.size(), 0)) > 0;) {
            answer.append(piece.data(), static_cast<std::size_t>(count));
        }
    }
    ::close(socket);
    return answer;
}

} // namespace local_project
