#include "local_project/Exchange.h"

namespace local_project {

std::string textOf(const nlohmann::json& value) {
    return value.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

Response jsonResponse(int status, const nlohmann::json& body) {
    return {.status = status, .body = textOf(body)};
}

Response refusal(int status, const std::string& code, const std::string& message) {
    return jsonResponse(status, {{"code", code}, {"message", message}});
}

} // namespace local_project
