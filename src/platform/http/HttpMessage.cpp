#include "platform/http/HttpMessage.h"

#include "platform/text/Ascii.h"

#include <utility>

namespace platform {

bool isSameHeader(std::string_view one, std::string_view other) noexcept {
    return equalsInAnyCase(one, other);
}

void HttpRequest::setHeader(std::string name, std::string value) {
    removeHeader(name);
    headers.push_back(HttpHeader{std::move(name), std::move(value)});
}

void HttpRequest::removeHeader(std::string_view name) {
    std::erase_if(headers, [name](const HttpHeader& header) { return isSameHeader(header.name, name); });
}

std::optional<std::string_view> HttpResponse::header(std::string_view name) const {
    for (const HttpHeader& header : headers) {
        if (isSameHeader(header.name, name)) {
            return header.value;
        }
    }
    return std::nullopt;
}

} // namespace platform
