#include "local_project/LocalProject.h"

#include "local_project/Dashboard.h"

#include <charconv>
#include <exception>

#include <fmt/format.h>

namespace local_project {

using nlohmann::json;

namespace {

constexpr std::string_view controlPaths = "/_local/";

Response done() {
    return Response{.status = 204};
}

std::uint64_t sequenceIn(const Fields& query) {
    std::uint64_t sequence = 0;
    for (const auto& [name, value] : query) {
        if (name == "since") {
            std::from_chars(value.data(), value.data() + value.size(), sequence);
        }
    }
    return sequence;
}

} // namespace

LocalProject::LocalProject(Options options)
    : options_(std::move(options)), folder_(options_.data), database_(folder_.database()),
      accounts_(database_, options_), objects_(database_, folder_.objects(), options_.clock),
      worker_(database_, objects_, options_.clock, options_.workerDelay),
      tables_(database_, options_.clock, [this] { worker_.wake(); }),
      journal_(options_.journalLimit, options_.journalFile), faults_(options_.seed),
      gateway_(options_, accounts_, tables_, objects_, journal_, faults_),
      server_([this](Request& request) { return answer(request); }) {
    if (options_.faultsFile) {
        faults_.addFile(*options_.faultsFile);
    }
}

LocalProject::~LocalProject() {
    stop();
}

void LocalProject::start(std::uint16_t port) {
    port_ = server_.start(port);
    if (options_.worker == WorkerPolicy::runs) {
        worker_.start();
    }
}

void LocalProject::stop() {
    faults_.stop();
    server_.stop();
    worker_.stop();
}

std::string LocalProject::baseUrl() const {
    return fmt::format("http://127.0.0.1:{}", port_);
}

json LocalProject::state() {
    return {{"users", accounts_.state()},
            {"files", tables_.all("files")},
            {"jobs", tables_.all("jobs")},
            {"objects", objects_.state()}};
}

Answer LocalProject::answer(Request& request) {
    if (request.path != "/" && !request.path.starts_with(controlPaths)) {
        return gateway_.answer(request);
    }
    try {
        return {.response = request.path == "/" ? dashboard() : control(request)};
    } catch (const std::exception& error) {
        return {.response = refusal(500, "internal", error.what())};
    }
}

Response LocalProject::dashboard() {
    return {.body = dashboardPage(tables_.all("files"), tables_.all("jobs")),
            .contentType = "text/html; charset=utf-8"};
}

Response LocalProject::control(Request& request) {
    request.text = request.body.text();
    const std::string name = request.path.substr(controlPaths.size());
    const bool isPost = request.head.method == "POST";
    if (name == "state") {
        return jsonResponse(200, state());
    }
    if (name == "journal") {
        return controlJournal(request);
    }
    if (name == "faults" || name == "faults/release") {
        return controlFaults(request);
    }
    if (name == "tokens/expire" && isPost) {
        accounts_.expireAccessTokens();
        return done();
    }
    if (name == "tokens/revoke" && isPost) {
        accounts_.revokeRefreshTokens();
        return done();
    }
    if (name == "confirm" && isPost) {
        return accounts_.confirm(request.text) ? done() : refusal(404, "not_found", "There is no such account");
    }
    return refusal(404, "not_found", "There is no such control: README.md lists them");
}

Response LocalProject::controlJournal(const Request& request) {
    if (request.head.method == "DELETE") {
        journal_.clear();
        return done();
    }
    return jsonResponse(200, journal_.since(sequenceIn(request.head.query())));
}

Response LocalProject::controlFaults(Request& request) {
    if (request.path.ends_with("/release")) {
        faults_.release();
        return done();
    }
    if (request.head.method == "DELETE") {
        faults_.clear();
        return done();
    }
    if (request.head.method == "GET") {
        return jsonResponse(200, faults_.list());
    }
    try {
        faults_.add(json::parse(request.text, nullptr, false));
        return Response{.status = 201};
    } catch (const FaultError& error) {
        return refusal(400, "bad_fault", error.what());
    }
}

} // namespace local_project
