#include "platform/http/CurlFailure.h"

#include <fmt/format.h>

#include <string>
#include <string_view>
#include <system_error>

namespace platform {

namespace {

std::string_view meaningOf(CURLcode code) {
    switch (code) {
    case CURLE_COULDNT_RESOLVE_HOST:
        return "Could not find the server";
    case CURLE_COULDNT_RESOLVE_PROXY:
        return "Could not find the proxy";
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

// What libcurl's account says beyond its code: the name alone, the host and port alone. An account that begins in other
// words stays whole.
std::string_view detailOf(std::string_view account) {
    for (const std::string_view beginning :
         {"Could not resolve host: ", "Could not resolve proxy: ", "Failed to connect to "}) {
        if (account.starts_with(beginning)) {
            account.remove_prefix(beginning.size());
            return account.substr(0, account.find(" after "));
        }
    }
    return account.substr(0, account.find('?')); // a query may hold what is nobody's business
}

} // namespace

TransportError curlFailure(CURLcode code, std::string_view account, int systemError) {
    const std::string_view detail = detailOf(account.empty() ? std::string_view(curl_easy_strerror(code)) : account);
    const std::string reason = code == CURLE_COULDNT_CONNECT && systemError != 0
                                   ? fmt::format(" ({})", std::generic_category().message(systemError))
                                   : std::string();
    return TransportError(fmt::format("{}: {}{}", meaningOf(code), detail, reason));
}

} // namespace platform
