#pragma once

#include "platform/async/Executor.h"
#include "platform/http/HttpTransport.h"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace veskline::testing {

// A hosted project in the own process: answers what the client sends without a network, on the one thread of a test or
// a simulation, and fails where it is told to. It checks little of a request; what goes on the wire is the business of
// the client's own tests. Rows and objects are their owner's alone, as the policies of a real project have it.
class InProcessProject {
public:
    struct File {
        std::string id;
        std::string userID;
        std::string path;
        std::string storageKey;
        std::int64_t bytes = 0;
        std::string mime;
        std::string sha256;
        std::optional<std::string> ingestedSHA256;
        bool isDeleted = false;
    };
    struct FileJob {
        std::string fileID;
        std::string kind;
        friend bool operator==(const FileJob&, const FileJob&) = default;
    };
    // What a request meets: instead of what it asks for, or, with an answer that is spoilt, after it was carried out.
    struct Fault {
        enum class Answer : std::uint8_t { instead, lost, truncated, nonsense };
        int status = 0; // 0: the connection breaks
        Answer answer = Answer::instead;
    };
    // Asked of each request, as "POST /storage/v1/object/files/..." with its query; none lets it through.
    using FaultRule = std::function<std::optional<Fault>(std::string_view request)>;

    explicit InProcessProject(async::Executor executor) : executor_(executor) {}
    InProcessProject(const InProcessProject&) = delete;
    InProcessProject& operator=(const InProcessProject&) = delete;

    [[nodiscard]] platform::HttpTransport transport() noexcept { return {operations, this}; }

    // Accounts: the one token pair that counts at the moment.
    void signIn(std::string userID);
    void expireAccessToken() { isExpired_ = true; }
    // What a sign-up is answered with.
    void answerSignups(std::string body) { signupAnswer_ = std::move(body); }
    [[nodiscard]] const std::string& userID() const noexcept { return userID_; }
    [[nodiscard]] std::string accessToken() const { return "access-" + std::to_string(tokenNumber_); }
    [[nodiscard]] std::string refreshToken() const { return "refresh-" + std::to_string(tokenNumber_); }

    void setFaults(FaultRule rule) { faults_ = std::move(rule); }
    // Told of each request that was carried out, right after it, and under which key its object or row lies, if any.
    using Observer = std::function<void(std::string_view request, const std::string& storageKey)>;
    void setObserver(Observer observer) { observer_ = std::move(observer); }
    // Requests whose text holds `part` wait from now on, until released.
    void hold(std::string part) { held_ = std::move(part); }
    void release();
    [[nodiscard]] std::size_t heldCount() const noexcept { return waiting_.size(); }

    [[nodiscard]] const std::vector<std::string>& journal() const noexcept { return journal_; }
    void forgetJournal() { journal_.clear(); }
    // Takes the request at this place out where it is the one named.
    void forgetRequest(std::size_t at, std::string_view request) {
        if (at < journal_.size() && journal_[at] == request) {
            journal_.erase(journal_.begin() + static_cast<std::ptrdiff_t>(at));
        }
    }
    [[nodiscard]] std::size_t requestsWith(std::string_view part) const;

    // By storage key.
    std::map<std::string, File> files;
    std::map<std::string, std::string> objects;
    std::vector<FileJob> jobs;

    // The file that is recorded under this logical path.
    [[nodiscard]] const File* fileAt(std::string_view path) const;
    // The worker has been here: every queued content is ingested.
    void ingestAll();

private:
    static const platform::HttpTransport::Operations operations;
    void start(platform::PendingExchange& exchange);
    void abort(platform::PendingExchange& exchange);
    void postAnswer(std::uint64_t ticket);
    void answer(platform::PendingExchange& exchange);
    [[nodiscard]] platform::HttpResponse carryOut(const platform::HttpRequest& request);
    [[nodiscard]] platform::HttpResponse respond(const platform::HttpRequest& request, std::string_view target);
    [[nodiscard]] platform::HttpResponse respondToToken(const platform::HttpRequest& request, std::string_view target);
    [[nodiscard]] platform::HttpResponse respondToTables(const platform::HttpRequest& request, std::string_view target);
    [[nodiscard]] platform::HttpResponse upsertFile(const platform::HttpRequest& request);
    [[nodiscard]] platform::HttpResponse storeObject(const platform::HttpRequest& request, std::string_view target);
    [[nodiscard]] bool isAuthorised(const platform::HttpRequest& request) const;
    [[nodiscard]] std::string keyOfID(std::string_view id) const;
    [[nodiscard]] bool isForeign(std::string_view storageKey) const;

    async::Executor executor_;
    std::string userID_;
    int tokenNumber_ = 0;
    bool isExpired_ = false;
    std::string signupAnswer_;
    FaultRule faults_;
    Observer observer_;
    std::string workedOn_; // the key of the request under way
    std::string held_;
    std::uint64_t lastTicket_ = 0;
    std::map<std::uint64_t, platform::PendingExchange*> pending_;
    std::vector<std::uint64_t> waiting_;
    std::vector<std::string> journal_;
    int lastID_ = 0;
};

} // namespace veskline::testing
