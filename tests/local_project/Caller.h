#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include <nlohmann/json.hpp>

namespace httplib {
class Client;
}

namespace local_project {

struct Reply {
    int status = 0; // 0 where the connection was cut
    std::string body;
    std::map<std::string, std::string> headers = {};

    [[nodiscard]] nlohmann::json json() const { return nlohmann::json::parse(body, nullptr, false); }
};

// A client over one kept connection.
class Caller {
public:
    explicit Caller(std::uint16_t port);
    ~Caller();

    // `target` goes out as it stands.
    Reply send(const std::string& method, const std::string& target, const std::map<std::string, std::string>& headers,
               const std::string& body = {});

private:
    std::unique_ptr<httplib::Client> client_;
};

// Sends bytes on a connection of their own, ends the sending, and returns whatever comes back.
std::string exchangeRaw(std::uint16_t port, const std::string& bytes);

} // namespace local_project
