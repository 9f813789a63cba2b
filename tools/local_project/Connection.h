#pragma once

#include "local_project/Exchange.h"
#include "local_project/RequestHead.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <httplib.h>

namespace local_project {

// One kept connection of a client, as the HTTP library reads and writes it. It stands between library and socket to
// do what the library cannot: it keeps each head as it was sent and shows the library its framing alone, holds the
// answer back until it is whole so that it can break off where a fault wants it, and sends it in one piece.
// Owned and used by the thread that serves it; the socket is closed by whoever accepted it.
class Connection : public httplib::Stream {
public:
    Connection(int socket, std::uint64_t number) : socket_(socket), number_(number) {}

    // Waits for the next request and reads its head. False where the client has hung up or sent no HTTP.
    [[nodiscard]] bool readHead();

    // Sends the answer as far as `cut` lets it. False where the connection cannot serve another request.
    [[nodiscard]] bool finish(Cut cut);

    [[nodiscard]] const RequestHead& head() const { return head_; }
    [[nodiscard]] std::uint64_t number() const { return number_; }
    [[nodiscard]] bool isAbandoned() const;

    [[nodiscard]] bool is_readable() const override { return true; }
    [[nodiscard]] bool is_writable() const override { return true; }
    ssize_t read(char* target, std::size_t size) override;
    ssize_t write(const char* data, std::size_t size) override;
    void get_remote_ip_and_port(std::string& address, int& port) const override;
    void get_local_ip_and_port(std::string& address, int& port) const override;
    // None: the library asks for it only to refuse numbers that select(2) cannot take.
    [[nodiscard]] socket_t socket() const override { return -1; }

private:
    [[nodiscard]] bool receive();
    [[nodiscard]] std::string_view received() const;
    [[nodiscard]] bool send(std::string_view data) const;

    int socket_;
    std::uint64_t number_;
    RequestHead head_;
    std::string framing_;      // the head that the library reads
    std::size_t framed_ = 0;   // how much of it is read
    std::vector<char> buffer_; // bytes read ahead: from `position_` to `end_`
    std::size_t position_ = 0;
    std::size_t end_ = 0;
    std::string answer_;
};

} // namespace local_project
