#include "support/InProcessProject.h"

#include "platform/async/Cancelled.h"
#include "platform/async/PostCall.h"
#include "platform/files/FileError.h"
#include "platform/http/TransportError.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <iterator>
#include <utility>

namespace veskline::testing {

namespace {

using nlohmann::json;

std::string unescaped(std::string_view text) {
    std::string plain;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '%' && i + 2 < text.size()) {
            plain += static_cast<char>(std::stoi(std::string(text.substr(i + 1, 2)), nullptr, 16));
            i += 2;
        } else {
            plain += text[i];
        }
    }
    return plain;
}

// The value of a query's item whose text begins with `name`, as in "id=eq.".
std::optional<std::string> queryValue(std::string_view target, std::string_view name) {
    const std::size_t at = target.find(name);
    if (at == std::string_view::npos) {
        return std::nullopt;
    }
    const std::string_view rest = target.substr(at + name.size());
    return unescaped(rest.substr(0, rest.find('&')));
}

std::string_view targetOf(std::string_view url) {
    return url.substr(url.find('/', url.find("://") + 3));
}

std::string bodyOf(const platform::HttpRequest& request) {
    const auto* const text = std::get_if<std::string>(&request.body);
    return text != nullptr ? *text : std::string();
}

platform::HttpResponse reply(int status, const json& body = nullptr) {
    platform::HttpResponse response;
    response.status = status;
    response.body = body.is_null() ? std::string() : body.dump();
    return response;
}

json row(const InProcessProject::File& file) {
    return json{{"id", file.id},
                {"user_id", file.userID},
                {"storage_key", file.storageKey},
                {"sha256", file.sha256},
                {"ingested_sha256", file.ingestedSHA256 ? json(*file.ingestedSHA256) : json()},
                {"is_deleted", file.isDeleted},
                {"path", file.path},
                {"bytes", file.bytes},
                {"mime", file.mime},
                {"ingest_error", nullptr}};
}

} // namespace

const platform::HttpTransport::Operations InProcessProject::operations{
    .start =
        [](void* self, platform::PendingExchange& exchange) noexcept {
            static_cast<InProcessProject*>(self)->start(exchange);
        },
    .abort =
        [](void* self, platform::PendingExchange& exchange) noexcept {
            static_cast<InProcessProject*>(self)->abort(exchange);
        },
};

void InProcessProject::signIn(std::string userID) {
    userID_ = std::move(userID);
    ++tokenNumber_;
    isExpired_ = false;
}

void InProcessProject::expireAccessToken() {
    isExpired_ = true;
}

std::string InProcessProject::accessToken() const {
    return "access-" + std::to_string(tokenNumber_);
}

std::string InProcessProject::refreshToken() const {
    return "refresh-" + std::to_string(tokenNumber_);
}

void InProcessProject::release() {
    held_.clear();
    for (const std::uint64_t ticket : std::exchange(waiting_, {})) {
        async::postCall(executor_, [this, ticket] { answer(ticket); });
    }
}

std::size_t InProcessProject::requestsWith(std::string_view part) const {
    return static_cast<std::size_t>(
        std::ranges::count_if(journal_, [&](const std::string& line) { return line.find(part) != std::string::npos; }));
}

const InProcessProject::File* InProcessProject::fileAt(std::string_view path) const {
    const auto found = std::ranges::find_if(files, [&](const auto& entry) { return entry.second.path == path; });
    return found == files.end() ? nullptr : &found->second;
}

void InProcessProject::ingestAll() {
    for (auto& [key, file] : files) {
        file.ingestedSHA256 = file.sha256;
    }
    jobs.clear();
}

void InProcessProject::start(platform::PendingExchange& exchange) {
    const std::uint64_t ticket = ++lastTicket_;
    exchange.ticket = ticket;
    pending_[ticket] = &exchange;
    journal_.push_back(exchange.request.method + " " + unescaped(targetOf(exchange.request.url)));
    if (!held_.empty() && journal_.back().find(held_) != std::string::npos) {
        waiting_.push_back(ticket);
        return;
    }
    async::postCall(executor_, [this, ticket] { answer(ticket); });
}

void InProcessProject::abort(platform::PendingExchange& exchange) {
    if (pending_.erase(exchange.ticket) != 0) {
        std::erase(waiting_, exchange.ticket);
        exchange.fail(std::make_exception_ptr(async::Cancelled()));
    }
}

void InProcessProject::answer(std::uint64_t ticket) {
    const auto found = pending_.find(ticket);
    if (found == pending_.end()) {
        return;
    }
    platform::PendingExchange& exchange = *found->second;
    pending_.erase(found);
    const platform::HttpRequest& request = exchange.request;
    const std::string line = request.method + " " + unescaped(targetOf(request.url));
    const std::optional<Fault> fault = faults_ ? faults_(line) : std::nullopt;
    try {
        platform::HttpResponse response;
        if (!fault || fault->isCarriedOut) {
            response = respond(request, targetOf(request.url));
        }
        if (fault && fault->status == 0) {
            throw platform::TransportError("The connection broke");
        }
        exchange.succeed(fault ? reply(fault->status) : std::move(response));
    } catch (...) {
        exchange.fail(std::current_exception());
    }
}

bool InProcessProject::isAuthorised(const platform::HttpRequest& request) const {
    const std::string wanted = "Bearer " + accessToken();
    return !isExpired_ && std::ranges::any_of(request.headers, [&](const platform::HttpHeader& header) {
        return header.name == "Authorization" && header.value == wanted;
    });
}

platform::HttpResponse InProcessProject::respond(const platform::HttpRequest& request, std::string_view target) {
    if (target.starts_with("/auth/v1/token")) {
        return respondToToken(request, target);
    }
    if (target == "/auth/v1/signup") {
        return reply(200, json::parse(signupAnswer_));
    }
    if (!isAuthorised(request)) {
        return reply(401);
    }
    if (target == "/auth/v1/user") {
        return reply(200, json{{"id", userID_}, {"email", userID_ + "@example.com"}});
    }
    if (target.starts_with("/storage/v1/object/")) {
        return storeObject(request, target);
    }
    return respondToTables(request, target);
}

platform::HttpResponse InProcessProject::respondToToken(const platform::HttpRequest& request, std::string_view target) {
    const json body = json::parse(bodyOf(request));
    if (target.ends_with("grant_type=refresh_token") && body.at("refresh_token") != refreshToken()) {
        return reply(400);
    }
    signIn(userID_);
    return reply(200, json{{"access_token", accessToken()},
                           {"refresh_token", refreshToken()},
                           {"user", {{"id", userID_}, {"email", userID_ + "@example.com"}}}});
}

platform::HttpResponse InProcessProject::storeObject(const platform::HttpRequest& request, std::string_view target) {
    const auto& path = std::get<platform::FileBody>(request.body).path;
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        throw platform::FileError(path, "opened", ENOENT);
    }
    const std::string key = unescaped(target.substr(std::string_view("/storage/v1/object/files/").size()));
    objects[key] = std::string(std::istreambuf_iterator<char>(in), {});
    return reply(200, json{{"Key", key}});
}

platform::HttpResponse InProcessProject::respondToTables(const platform::HttpRequest& request,
                                                         std::string_view target) {
    if (target == "/rest/v1/jobs") {
        const json body = json::parse(bodyOf(request));
        jobs.push_back(FileJob{body.at("file_id"), body.at("kind")});
        return reply(201);
    }
    if (request.method == "POST") {
        return upsertFile(bodyOf(request));
    }
    if (request.method == "PATCH") {
        const std::string id = queryValue(target, "id=eq.").value_or("");
        for (auto& [key, file] : files) {
            file.isDeleted = file.isDeleted || file.id == id;
        }
        return reply(204);
    }
    const std::optional<std::string> wantedKey = queryValue(target, "storage_key=eq.");
    if (!wantedKey) {
        return reply(200, json::array()); // the status reads: nothing waits and nothing has failed
    }
    const auto found = files.find(*wantedKey);
    return reply(200, found == files.end() ? json::array() : json::array({row(found->second)}));
}

platform::HttpResponse InProcessProject::upsertFile(std::string_view text) {
    const json body = json::parse(text);
    File& file = files[body.at("storage_key")];
    if (file.id.empty()) {
        file.id = "file-" + std::to_string(++lastID_);
    }
    file.userID = body.at("user_id");
    file.path = body.at("path");
    file.storageKey = body.at("storage_key");
    file.bytes = body.at("bytes");
    file.mime = body.at("mime");
    file.sha256 = body.at("sha256");
    file.isDeleted = body.at("is_deleted");
    return reply(201, json::array({row(file)}));
}

} // namespace veskline::testing
