#pragma once

#include "local_project/Body.h"
#include "local_project/RequestHead.h"

#include <cstdint>
#include <functional>
#include <string>

#include <nlohmann/json.hpp>

namespace local_project {

// One request as the services see it. Lives as long as its exchange, on the thread of its connection.
struct Request {
    const RequestHead& head;
    std::string path; // decoded
    std::uint64_t connection = 0;
    Body& body;
    std::string text;                                         // the body of everything but an upload
    std::function<bool()> isAbandoned = [] { return false; }; // whether the client has hung up
};

struct Response {
    int status = 200;
    std::string body;
    std::string contentType = "application/json";
    Fields headers = {};
};

// Where the answer breaks off on purpose.
enum class Cut { none, beforeAnswer, insideBody };

struct Answer {
    Response response;
    Cut cut = Cut::none;
};

[[nodiscard]] Response jsonResponse(int status, const nlohmann::json& body);

// A refusal in the form of the hosted services: a JSON object with `code` and `message`.
[[nodiscard]] Response refusal(int status, const std::string& code, const std::string& message);

// Text of a JSON value; bytes that are no UTF-8 (a header's, a file name's) show as replacement characters.
[[nodiscard]] std::string textOf(const nlohmann::json& value);

} // namespace local_project
