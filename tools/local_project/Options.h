#pragma once

#include "local_project/Timestamp.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

namespace local_project {

struct Credentials {
    std::string email;
    std::string password;
};

// How the services answer an access token that is expired or unknown: 401 everywhere, or as deployed projects do
// (403 for the user, 400 for storage, 401 for tables).
enum class RefusalProfile { unauthorized, deployed };

enum class SignupPolicy { opensSession, requiresConfirmation };

// Where the answer to a sign-up has the new session: under `session` beside `user`, or, as today's services have it, at
// its top level. A new account without a session is there under `user`, or is the whole answer.
enum class SignupReply { nested, topLevel };

enum class WorkerPolicy { runs, off };

// How a local project is set up; every field but `clock` and `journalLimit` has its option on the command line.
struct Options {
    std::filesystem::path data;
    std::uint16_t port = 0; // 0 chooses a free one
    std::optional<std::filesystem::path> portFile = {};
    std::string anonKey = "local-anon-key";
    std::vector<Credentials> users = {};
    RefusalProfile profile = RefusalProfile::unauthorized;
    std::chrono::seconds tokenLifetime{3600};
    SignupPolicy signup = SignupPolicy::opensSession;
    SignupReply signupReply = SignupReply::nested;
    WorkerPolicy worker = WorkerPolicy::runs;
    std::chrono::milliseconds workerDelay{0};
    std::optional<std::filesystem::path> faultsFile = {};
    std::optional<std::filesystem::path> journalFile = {};
    std::size_t journalLimit = 100'000;
    std::uint64_t seed = 1;
    Clock clock = std::chrono::system_clock::now;
};

// A command line that cannot be followed, in words for the user.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Reads the words after the program's name, each option as "--name value" or "--name=value". Absent where help was
// asked for. Throws UsageError.
[[nodiscard]] std::optional<Options> parseOptions(std::span<const char* const> words);

[[nodiscard]] std::string usage();

} // namespace local_project
