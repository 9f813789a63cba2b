#pragma once

#include "local_project/Exchange.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <filesystem>
#include <mutex>
#include <optional>
#include <random>
#include <regex>
#include <stdexcept>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace local_project {

enum class FaultKind {
    status,        // `status` with `body`
    refusedToken,  // as an expired access token is refused
    expireTokens,  // every access token expires, then the request is handled
    revokeRefresh, // every refresh token is revoked, then the request is handled
    cutBefore,     // the connection ends before the request is handled
    cutAfter,      // the request is handled, and the connection ends before its answer
    cutInBody,     // the connection ends in the middle of the answer's body
    cutUpload,     // the connection ends after `bytes` of the request's body
    stall,         // the request waits for `ms`, or until it is released
    truncate,      // half of the answer's body, as if it were the whole
    html,          // a page where JSON is expected
    wrongType,     // JSON of another type than any that is expected
    envelope,      // {"message": ...} with a success
    junk,          // `mib` MiB that are no JSON
    redirect,      // to `location`
};

// Which requests go wrong, and how.
struct Fault {
    FaultKind kind = FaultKind::status;
    std::string method;                 // any where empty
    std::string path;                   // glob over the decoded path: * any run, ? any one byte
    std::string target;                 // regular expression found in the undecoded target
    std::uint64_t skip = 0;             // leave the first matching requests alone
    std::optional<std::uint64_t> count; // then that many; 1 by default, all where `rate` is given
    std::optional<double> rate;         // the share of matching requests, drawn from a seed
    std::optional<std::uint64_t> seed;
    bool isAfter = false; // the request is handled first, or before the stall
    int status = 500;
    std::string body = R"({"message":"a fault on demand"})";
    std::optional<std::chrono::milliseconds> wait; // until released where absent
    std::uint64_t bytes = 0;
    std::uint64_t mebibytes = 1;
    std::string location;
    std::string message = "a fault on demand";
};

// A description of a fault that cannot be read, in words for the user.
struct FaultError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// The faults in force, in the order in which they were added: the first that matches a request and is due takes it.
// May be used from any thread.
class Faults {
public:
    explicit Faults(std::uint64_t seed) : seed_(seed) {}

    // Adds one fault, or each of an array, in the JSON form that README.md tells. Throws FaultError; then none is
    // added.
    void add(const nlohmann::json& description);
    void addFile(const std::filesystem::path& file);
    void add(const Fault& fault);

    // The fault for this request, if any is due.
    [[nodiscard]] std::optional<Fault> take(const Request& request);

    // Waits as a stall does: until its time has passed, it is released, the client has hung up, or the project stops.
    // False in the last two cases.
    [[nodiscard]] bool stall(const Fault& fault, const Request& request);

    // Waits until so many requests are stalled, so that a release reaches them. False where `patience` ended before.
    [[nodiscard]] bool waitForStalled(std::uint64_t requests, std::chrono::milliseconds patience);

    // Lets every waiting request go on.
    void release();
    // Forgets all faults and releases.
    void clear();
    // Ends every stall, these and those to come.
    void stop();

    [[nodiscard]] nlohmann::json list();

    // The answer of a fault that answers by itself; absent for one that lets the request be answered.
    [[nodiscard]] static std::optional<Response> answerOf(const Fault& fault);
    [[nodiscard]] static std::string nameOf(FaultKind kind);

private:
    struct Rule {
        Fault fault;
        std::regex target;
        std::mt19937_64 random;
        std::uint64_t matched = 0;
        std::uint64_t applied = 0;

        [[nodiscard]] bool matches(const Request& request) const;
        [[nodiscard]] bool isDue();
    };

    std::uint64_t seed_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<Rule> rules_;
    std::uint64_t releases_ = 0;
    std::uint64_t stalled_ = 0;
    bool isStopping_ = false;
};

} // namespace local_project
