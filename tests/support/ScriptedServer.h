#pragma once

#include <condition_variable>
#include <cstdint>
#include <cstdio>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

namespace veskline::testing {

using Headers = std::vector<std::pair<std::string, std::string>>;

// A request as it came over the wire.
struct RecordedRequest {
    std::string method;
    std::string target; // path and query, as sent
    Headers headers;    // names and values as spelled, in their order
    std::string body;   // its first MiB
    std::int64_t bodyBytes = 0;
    int connection = 0; // 1 for the first connection that the server took, and so on

    // "POST /path?query"
    [[nodiscard]] std::string line() const { return method + " " + target; }
    // The value of the header that is spelled so; "(none)" where it was not sent.
    [[nodiscard]] std::string header(std::string_view name) const;
};

struct ScriptedReply {
    enum class Cut { never, beforeHeaders, inBody, afterBody };

    int status = 200;
    std::string body;
    Headers headers;
    std::string raw;      // sent instead of all the above, where it is not empty
    Cut cut = Cut::never; // where the connection is closed
    bool isHeld = false;  // not sent before release()
};

// A service on loopback that answers as a test says and records what it was sent. Each connection has a thread, which
// reads and writes as it goes. A request without a reply is answered with 599.
class ScriptedServer {
public:
    ScriptedServer();
    ~ScriptedServer();
    ScriptedServer(const ScriptedServer&) = delete;
    ScriptedServer& operator=(const ScriptedServer&) = delete;

    [[nodiscard]] std::string url() const; // "http://127.0.0.1:<port>"

    // The reply to the next request that has no other: each reply is given once, in order.
    void reply(ScriptedReply reply) { replyTo("", std::move(reply)); }
    void replies(std::vector<ScriptedReply> replies) {
        for (ScriptedReply& next : replies) {
            reply(std::move(next));
        }
    }
    // The same for a request whose line, such as "GET /a?b=c", contains `part`.
    void replyTo(std::string part, ScriptedReply reply);
    // Lets every reply go that is held or will be.
    void release();

    [[nodiscard]] std::vector<RecordedRequest> requests() const;

    // Both block until so many have come, and throw after ten seconds.
    void waitForRequests(std::size_t count);
    void waitForHangUps(std::size_t count); // connections that the other side has closed

private:
    void takeConnections();
    void serve(int socket, int number);
    bool answerNext(std::FILE* wire, int number);
    bool noteHangUp();
    ScriptedReply takeReply(const RecordedRequest& request);
    template <class Condition>
    void waitUntil(Condition condition);

    int listener_;
    int released_; // an event descriptor that is readable from release() on

    mutable std::mutex mutex_;
    std::condition_variable news_;
    std::set<int> sockets_; // closed under the lock alone, so that the end never shuts down another's
    std::vector<std::pair<std::string, ScriptedReply>> replies_;
    std::vector<RecordedRequest> requests_;
    std::size_t hangUps_ = 0;
    std::vector<std::thread> connections_; // the first thread's, until that has ended
    std::thread thread_;
};

} // namespace veskline::testing
