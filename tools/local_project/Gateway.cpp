#include "local_project/Gateway.h"

#include <cstdio>
#include <exception>

#include <fmt/format.h>

namespace local_project {

namespace {

constexpr std::string_view authPaths = "/auth/v1/";
constexpr std::string_view tablePaths = "/rest/v1/";
constexpr std::string_view storagePaths = "/storage/v1/object/";
constexpr std::string_view bearer = "Bearer ";

bool isUpload(const Request& request) {
    return request.path.starts_with(storagePaths);
}

JournalEntry entryOf(const Request& request) {
    JournalEntry entry;
    entry.connection = request.connection;
    entry.method = request.head.method;
    entry.target = request.head.target;
    entry.path = request.path;
    entry.headers = request.head.headers;
    return entry;
}

Response half(Response whole) {
    whole.body.resize(whole.body.size() / 2);
    return whole;
}

} // namespace

Gateway::Gateway(const Options& options, Accounts& accounts, Tables& tables, ObjectStore& objects, Journal& journal,
                 Faults& faults)
    : options_(options), accounts_(accounts), tables_(tables), objects_(objects), journal_(journal), faults_(faults) {}

Answer Gateway::answer(Request& request) {
    const auto sequence = journal_.begin(entryOf(request));
    const auto fault = faults_.take(request);
    const Answer answer = attempt(fault, request);
    if (answer.cut != Cut::beforeAnswer) {
        request.body.drain();
    }
    journal_.finish(sequence, [&](JournalEntry& entry) {
        entry.text = request.text;
        entry.bodyBytes = request.body.bytes();
        entry.bodyDigest = isUpload(request) && request.body.isRead() ? request.body.digest() : "";
        entry.status = answer.cut == Cut::beforeAnswer ? 0 : answer.response.status;
        entry.fault = fault ? Faults::nameOf(fault->kind) : "";
    });
    return answer;
}

Answer Gateway::attempt(const std::optional<Fault>& fault, Request& request) {
    try {
        const bool isCutOff = fault && (fault->kind == FaultKind::cutBefore || fault->kind == FaultKind::cutUpload);
        if (!isUpload(request) && !isCutOff) {
            request.text = request.body.text();
        }
        return fault ? answerUnder(*fault, request) : Answer{.response = route(request)};
    } catch (const std::exception& error) {
        fmt::print(stderr, "{} {} failed: {}\n", request.head.method, request.head.target, error.what());
        return {.response = refusal(500, "internal", error.what())};
    }
}

Answer Gateway::answerUnder(const Fault& fault, Request& request) {
    const auto own = fault.kind == FaultKind::refusedToken ? refusedToken(request) : Faults::answerOf(fault);
    if (!own) {
        return answerBroken(fault, request);
    }
    if (fault.isAfter) {
        static_cast<void>(route(request)); // handled, but its answer is lost
    }
    return {.response = *own};
}

Answer Gateway::answerBroken(const Fault& fault, Request& request) {
    switch (fault.kind) {
    case FaultKind::expireTokens:
        accounts_.expireAccessTokens();
        break;
    case FaultKind::revokeRefresh:
        accounts_.revokeRefreshTokens();
        break;
    case FaultKind::cutBefore:
        return {.response = {}, .cut = Cut::beforeAnswer};
    case FaultKind::cutUpload:
        request.body.cutAfter(fault.bytes);
        if (isUpload(request)) {
            static_cast<void>(route(request));
        }
        request.body.drain();
        return {.response = {}, .cut = Cut::beforeAnswer};
    case FaultKind::cutAfter:
        return {.response = route(request), .cut = Cut::beforeAnswer};
    case FaultKind::cutInBody:
        return {.response = route(request), .cut = Cut::insideBody};
    case FaultKind::truncate:
        return {.response = half(route(request))};
    case FaultKind::stall:
        return answerStalled(fault, request);
    default:
        break;
    }
    return {.response = route(request)};
}

Answer Gateway::answerStalled(const Fault& fault, Request& request) {
    Answer answer;
    if (fault.isAfter) {
        answer.response = route(request);
    }
    if (!faults_.stall(fault, request)) {
        answer.cut = Cut::beforeAnswer;
    } else if (!fault.isAfter) {
        answer.response = route(request);
    }
    return answer;
}

Response Gateway::route(Request& request) {
    if (request.head.header("apikey") != options_.anonKey) {
        return refusal(401, "bad_api_key", "No API key, or an unknown one, was found in the request");
    }
    const bool isSignOut = request.path == "/auth/v1/logout" && request.head.method == "POST";
    const bool isUserRequest = request.path == "/auth/v1/user";
    const bool needsToken = isSignOut || isUserRequest;
    if (request.path.starts_with(authPaths) && !needsToken) {
        return accounts_.answer(request);
    }
    if (!needsToken && !request.path.starts_with(tablePaths) && !isUpload(request)) {
        return refusal(404, "not_found", "There is no such path");
    }
    const std::string authorization = request.head.header("authorization");
    const std::string token = authorization.starts_with(bearer) ? authorization.substr(bearer.size()) : "";
    const auto user = accounts_.userOf(token);
    if (!user) {
        return refusedToken(request);
    }
    if (isSignOut) {
        return accounts_.signOut(token, request.head.query());
    }
    if (isUserRequest) {
        return accounts_.describe(*user);
    }
    return isUpload(request) ? store(request, *user) : tables_.answer(request, *user);
}

// A deployed storage service refuses with 400 whatever it is; `statusCode` in the body tells why.
Response Gateway::store(const Request& request, const User& user) {
    Response response = objects_.answer(request, user);
    if (options_.profile == RefusalProfile::deployed && response.status / 100 == 4) {
        response.status = 400;
    }
    return response;
}

Response Gateway::refusedToken(const Request& request) const {
    const bool isDeployed = options_.profile == RefusalProfile::deployed;
    if (isUpload(request)) {
        return jsonResponse(isDeployed ? 400 : 401,
                            {{"statusCode", "403"}, {"error", "Unauthorized"}, {"message", "jwt expired"}});
    }
    if (request.path.starts_with(authPaths)) {
        return refusal(isDeployed ? 403 : 401, "bad_jwt", "invalid JWT: token is expired");
    }
    return refusal(401, "bad_jwt", "JWT expired");
}

} // namespace local_project
