#include "platform/http/CurlFailure.h"

#include <fmt/format.h>

namespace platform {

namespace {

std::string_view meaningOf(CURLcode code) {
    switch (code) {
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_RESOLVE_PROXY:
        return "Could not find the server";
    case CURLE_COULDNT_CONNECT:
        return "Could not connect to the server";
    case CURLE_OPERATION_TIMEDOUT:
        return "The server did not answer in time";
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_CACERT_BADFILE:
    case CURLE_SSL_CERTPROBLEM:
    case CURLE_SSL_CIPHER:
        return "Could not make a secure connection to the server";
    case CURLE_SEND_ERROR:
    case CURLE_RECV_ERROR:
    case CURLE_GOT_NOTHING:
    case CURLE_PARTIAL_FILE:
    case CURLE_SEND_FAIL_REWIND:
        return "The connection to the server was lost";
    default:
        return "The request could not be carried out";
    }
}

} // namespace

TransportError curlFailure(CURLcode code, std::string_view account) {
    const std::string_view told = account.empty() ? std::string_view(curl_easy_strerror(code)) : account;
    return TransportError(fmt::format("{}: {}", meaningOf(code), told.substr(0, told.find('?'))));
}

} // namespace platform
