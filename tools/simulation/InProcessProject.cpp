#include "simulation/InProcessProject.h"

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

std::string_view targetOf(const platform::HttpRequest& request) {
    const std::string_view url = request.url;
    return url.substr(url.find('/', url.find("://") + 3));
}

// As the journal tells it and the rules for faults are asked.
std::string lineOf(const platform::HttpRequest& request) {
    return request.method + " " + unescaped(targetOf(request));
}

json bodyOf(const platform::HttpRequest& request) {
    return json::parse(std::get<std::string>(request.body));
}

platform::HttpResponse reply(int status, const json& body = nullptr) {
    return {.status = status, .headers = {}, .body = body.is_null() ? std::string() : body.dump()};
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

void spoil(platform::HttpResponse& response, InProcessProject::Fault::Answer answer) {
    using enum InProcessProject::Fault::Answer;
    if (answer == lost) {
        throw platform::TransportError("The connection broke");
    }
    if (answer == truncated) {
        response.body.resize(response.body.size() / 2);
    } else if (answer == nonsense) {
        response.body = "<html>Bad gateway</html>";
    }
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

void InProcessProject::release() {
    held_.clear();
    std::ranges::for_each(std::exchange(waiting_, {}), [this](std::uint64_t ticket) { postAnswer(ticket); });
}

std::size_t InProcessProject::requestsWith(std::string_view part) const {
    return static_cast<std::size_t>(
        std::ranges::count_if(journal_, [&](const std::string& line) { return line.contains(part); }));
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
    exchange.ticket = ++lastTicket_;
    pending_[exchange.ticket] = &exchange;
    journal_.push_back(lineOf(exchange.request));
    if (!held_.empty() && journal_.back().contains(held_)) {
        waiting_.push_back(exchange.ticket);
    } else {
        postAnswer(exchange.ticket);
    }
}

void InProcessProject::abort(platform::PendingExchange& exchange) {
    if (pending_.erase(exchange.ticket) != 0) {
        std::erase(waiting_, exchange.ticket);
        exchange.fail(std::make_exception_ptr(async::Cancelled()));
    }
}

// An exchange that is aborted before it comes to that gets none.
void InProcessProject::postAnswer(std::uint64_t ticket) {
    async::postCall(executor_, [this, ticket] {
        if (const auto entry = pending_.extract(ticket)) {
            answer(*entry.mapped());
        }
    });
}

void InProcessProject::answer(platform::PendingExchange& exchange) {
    const std::optional<Fault> fault = faults_ ? faults_(lineOf(exchange.request)) : std::nullopt;
    try {
        if (fault && fault->answer == Fault::Answer::instead && fault->status != 0) {
            exchange.succeed(reply(fault->status));
            return;
        }
        if (fault && fault->answer == Fault::Answer::instead) {
            throw platform::TransportError("The connection broke");
        }
        platform::HttpResponse response = carryOut(exchange.request);
        if (fault) {
            spoil(response, fault->answer);
        }
        exchange.succeed(std::move(response));
    } catch (...) {
        exchange.fail(std::current_exception());
    }
}

platform::HttpResponse InProcessProject::carryOut(const platform::HttpRequest& request) {
    workedOn_.clear();
    platform::HttpResponse response = respond(request, targetOf(request));
    if (observer_ && response.status < 300) {
        observer_(lineOf(request), workedOn_);
    }
    return response;
}

std::string InProcessProject::keyOfID(std::string_view id) const {
    const auto found = std::ranges::find_if(files, [&](const auto& entry) { return entry.second.id == id; });
    return found == files.end() ? "" : found->first;
}

bool InProcessProject::isForeign(std::string_view storageKey) const {
    return storageKey.starts_with("user-") && !storageKey.starts_with("user-" + userID_ + "/");
}

bool InProcessProject::isAuthorised(const platform::HttpRequest& request) const {
    const platform::HttpHeader wanted{"Authorization", "Bearer " + accessToken()};
    return !isExpired_ && std::ranges::find(request.headers, wanted) != request.headers.end();
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
    const json body = bodyOf(request);
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
    if (isForeign(key)) {
        return reply(403);
    }
    workedOn_ = key;
    objects[key] = std::string(std::istreambuf_iterator<char>(in), {});
    return reply(200, json{{"Key", key}});
}

platform::HttpResponse InProcessProject::respondToTables(const platform::HttpRequest& request,
                                                         std::string_view target) {
    if (target == "/rest/v1/jobs") {
        const json body = bodyOf(request);
        jobs.push_back(FileJob{body.at("file_id"), body.at("kind")});
        workedOn_ = keyOfID(jobs.back().fileID);
        return reply(201);
    }
    if (request.method == "POST") {
        return upsertFile(request);
    }
    if (request.method == "PATCH") {
        const std::string id = queryValue(target, "id=eq.").value_or("");
        workedOn_ = keyOfID(id);
        if (const auto file = files.find(workedOn_); file != files.end() && !isForeign(workedOn_)) {
            file->second.isDeleted = true;
        }
        return reply(204);
    }
    const std::optional<std::string> wantedKey = queryValue(target, "storage_key=eq.");
    if (!wantedKey) {
        return reply(200, json::array()); // the status reads: nothing waits and nothing has failed
    }
    const auto found = files.find(*wantedKey);
    return reply(200,
                 found == files.end() || isForeign(*wantedKey) ? json::array() : json::array({row(found->second)}));
}

platform::HttpResponse InProcessProject::upsertFile(const platform::HttpRequest& request) {
    const json body = bodyOf(request);
    if (isForeign(body.at("storage_key").get<std::string>())) {
        return reply(403);
    }
    workedOn_ = body.at("storage_key");
    File& file = files[workedOn_];
    const bool isNew = file.id.empty();
    if (isNew) {
        file.id = "file-" + std::to_string(++lastID_);
    }
    file.userID = body.at("user_id");
    file.path = body.at("path");
    file.storageKey = body.at("storage_key");
    file.bytes = body.at("bytes");
    file.mime = body.at("mime");
    file.sha256 = body.at("sha256");
    file.isDeleted = body.at("is_deleted");
    return reply(isNew ? 201 : 200, json::array({row(file)}));
}

} // namespace veskline::testing
