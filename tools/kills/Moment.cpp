#include "kills/Moment.h"

#include <fmt/format.h>

#include <array>

namespace kills {

using agent_stand::Machine;
using nlohmann::json;

namespace {

using Before = Moment::Before;

// A request by what picks it: those of one kind that pass by before the first of interest, and how many of them belong
// to one file.
struct Request {
    const char* name;
    json picked;
    std::uint64_t skip = 0;
    std::uint64_t eachFile = 1;
};

// The user is asked for twice before the first file: at the launch and by the drain.
const std::array<Request, 5>& requestsOfAFile() {
    static const std::array<Request, 5> all{{
        {"object", {{"method", "POST"}, {"path", "/storage/*"}}},
        {"first user", {{"method", "GET"}, {"path", "/auth/v1/user"}}, 2, 2},
        {"row", {{"method", "POST"}, {"path", "/rest/v1/files"}}},
        {"second user", {{"method", "GET"}, {"path", "/auth/v1/user"}}, 3, 2},
        {"job", {{"method", "POST"}, {"path", "/rest/v1/jobs"}}},
    }};
    return all;
}

class Collection {
public:
    Collection(const Documents::Change& change, Random& random) : change_(change), random_(random) {}

    std::vector<Moment> all() {
        addWithoutAHold();
        for (const Request& request : requestsOfAFile()) {
            addRequest("upload", request, Documents::fewestUploads, Before::nothing);
            addRequest("drain", request, Documents::fewestUploads, Before::queuedUploads);
        }
        addDeletePass();
        addRefresh();
        addCalls("state database", "*/state.sqlite3-journal", {"open", "write", "sync", "unlink"}, 6, Before::nothing);
        addCalls("state database", "*/state.sqlite3", {"write", "sync"}, 6, Before::nothing);
        addCalls("opening the stores", "*/state.sqlite3", {"open", "read"}, 2, Before::nothing);
        addCalls("opening the stores", "*/session.json", {"open", "read"}, 1, Before::nothing);
        const std::vector<const char*> ofAStore{"open", "write", "sync", "rename"};
        addCalls("session file", "*/.session.json.tmp", ofAStore, 1, Before::expiredTokens);
        addCalls("queue, growing", "*/.retry-queue.json.tmp", ofAStore, Documents::fewestUploads, Before::failingJobs);
        addCalls("queue, drained", "*/.retry-queue.json.tmp", ofAStore, 1, Before::queuedUploads);
        return std::move(moments_);
    }

private:
    void addWithoutAHold() {
        moments_.push_back({.name = "at random: the start", .delay = delay(60'000)});
        moments_.push_back({.name = "at random: a file",
                            .line = fmt::format("Scanned: {}", 1 + below(change_.uploads, random_)),
                            .delay = delay(3'000)});
        moments_.push_back({.name = "at random: the deletions and after",
                            .line = fmt::format("Scanned: {}", change_.files),
                            .delay = delay(20'000)});
    }

    std::chrono::microseconds delay(std::uint64_t most) { return std::chrono::microseconds(below(most, random_)); }

    void addRequest(const std::string& area, const Request& request, std::uint64_t files, Before before) {
        for (const bool isAfter : {false, true}) {
            json fault = request.picked;
            fault["kind"] = "stall";
            fault["skip"] = request.skip + request.eachFile * below(files, random_);
            fault["after"] = isAfter;
            moments_.push_back({.name = fmt::format("{}: {}, {}", area, request.name, isAfter ? "answered" : "asked"),
                                .before = before,
                                .faults = json::array({fault})});
        }
    }

    void addDeletePass() {
        const Request record{.name = "record",
                             .picked = {{"method", "GET"}, {"path", "/rest/v1/files"}, {"target", "storage_key=eq"}}};
        const Request mark{.name = "mark", .picked = {{"method", "PATCH"}, {"path", "/rest/v1/files"}}};
        const Request job{
            .name = "job", .picked = {{"method", "POST"}, {"path", "/rest/v1/jobs"}}, .skip = change_.uploads};
        for (const Request& request : {record, mark, job}) {
            addRequest("deletion", request, change_.removals, Before::nothing);
        }
    }

    // At the launch, where the user is restored, and between two files.
    void addRefresh() {
        const Request token{.name = "token", .picked = {{"method", "POST"}, {"path", "/auth/v1/token"}}};
        addRequest("refresh at the start", token, 1, Before::expiredTokens);
        addRequest("refresh at a file", token, 1, Before::nothing);
        json expiry = requestsOfAFile().front().picked;
        expiry["kind"] = "expire-tokens";
        expiry["skip"] = below(Documents::fewestUploads, random_);
        for (std::size_t i = moments_.size() - 2; i < moments_.size(); ++i) {
            moments_[i].faults.push_back(expiry);
        }
    }

    void addCalls(const std::string& area, const char* path, const std::vector<const char*>& calls, std::uint64_t times,
                  Before before) {
        for (const char* call : calls) {
            const bool isAfter = below(2, random_) == 1;
            const Machine::Fault fault{.call = call,
                                       .path = path,
                                       .action = isAfter ? Machine::Action::killAfter : Machine::Action::kill,
                                       .skip = static_cast<std::uint32_t>(below(times, random_))};
            const std::string file = std::string(path).substr(std::string(path).rfind('/') + 1);
            moments_.push_back(
                {.name = fmt::format("{}: {} of {}", area, call, file), .before = before, .call = fault});
        }
    }

    const Documents::Change& change_;
    Random& random_;
    std::vector<Moment> moments_;
};

} // namespace

std::vector<Moment> moments(const Documents::Change& change, Random& random) {
    return Collection(change, random).all();
}

} // namespace kills
