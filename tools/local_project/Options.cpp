#include "local_project/Options.h"

#include "command_line/WholeNumber.h"

#include <algorithm>
#include <functional>
#include <limits>
#include <string_view>

#include <fmt/format.h>

namespace local_project {

namespace {

struct Definition {
    std::string_view name;
    std::string_view value; // empty for an option without one
    std::string_view help;
    std::function<void(Options&, const std::string&)> apply;
};

template <typename Number>
Number numberOf(const std::string& text, Number largest = std::numeric_limits<Number>::max()) {
    const std::optional<Number> number = command_line::wholeNumber(text, largest);
    if (!number) {
        throw UsageError(fmt::format("\"{}\" is not a number from 0 to {}", text, largest));
    }
    return *number;
}

Credentials credentialsOf(const std::string& text) {
    const auto colon = text.find(':');
    if (colon == 0 || colon == std::string::npos || colon + 1 == text.size()) {
        throw UsageError(fmt::format("\"{}\" is not of the form EMAIL:PASSWORD", text));
    }
    return {.email = text.substr(0, colon), .password = text.substr(colon + 1)};
}

RefusalProfile profileOf(const std::string& text) {
    if (text == "401") {
        return RefusalProfile::unauthorized;
    }
    if (text == "deployed") {
        return RefusalProfile::deployed;
    }
    throw UsageError(fmt::format("\"{}\" is no profile: choose 401 or deployed", text));
}

SignupReply signupReplyOf(const std::string& text) {
    if (text == "nested") {
        return SignupReply::nested;
    }
    if (text == "top-level") {
        return SignupReply::topLevel;
    }
    throw UsageError(fmt::format("\"{}\" is not a form of reply: choose nested or top-level", text));
}

const std::vector<Definition>& definitions() {
    using std::chrono::milliseconds;
    using std::chrono::seconds;
    constexpr std::uint32_t longest = 1'000'000'000;
    static const std::vector<Definition> all = {
        {"--data", "DIR", "where accounts, rows and objects are kept (required)",
         [](Options& options, const std::string& text) { options.data = text; }},
        {"--port", "N", "the port on 127.0.0.1; 0, the default, chooses a free one",
         [](Options& options, const std::string& text) { options.port = numberOf<std::uint16_t>(text); }},
        {"--port-file", "FILE", "write the port there once it listens",
         [](Options& options, const std::string& text) { options.portFile = text; }},
        {"--anon-key", "KEY", "the API key that every request must bring (default: local-anon-key)",
         [](Options& options, const std::string& text) { options.anonKey = text; }},
        {"--user", "EMAIL:PASSWORD", "an account that exists from the start; may be repeated",
         [](Options& options, const std::string& text) { options.users.push_back(credentialsOf(text)); }},
        {"--profile", "401|deployed", "how an expired token is refused: 401 everywhere, or user 403, storage 400",
         [](Options& options, const std::string& text) { options.profile = profileOf(text); }},
        {"--token-lifetime", "SECONDS", "how long an access token lives (default: 3600)",
         [](Options& options, const std::string& text) {
             options.tokenLifetime = seconds(numberOf<std::uint32_t>(text, longest));
         }},
        {"--confirm-signups", "", "a new account opens no session until its address is confirmed",
         [](Options& options, const std::string&) { options.signup = SignupPolicy::requiresConfirmation; }},
        {"--signup-reply", "nested|top-level", "where the reply to a sign-up has its tokens (default: nested)",
         [](Options& options, const std::string& text) { options.signupReply = signupReplyOf(text); }},
        {"--no-worker", "", "leave every job queued",
         [](Options& options, const std::string&) { options.worker = WorkerPolicy::off; }},
        {"--worker-delay", "MS", "how long each job runs (default: 0)",
         [](Options& options, const std::string& text) {
             options.workerDelay = milliseconds(numberOf<std::uint32_t>(text, longest));
         }},
        {"--faults", "FILE", "faults to begin with, as a JSON array (see README.md)",
         [](Options& options, const std::string& text) { options.faultsFile = text; }},
        {"--journal", "FILE", "append every request to this file, one JSON object a line",
         [](Options& options, const std::string& text) { options.journalFile = text; }},
        {"--seed", "N", "the seed of faults that happen at a rate (default: 1)",
         [](Options& options, const std::string& text) { options.seed = numberOf<std::uint64_t>(text); }},
    };
    return all;
}

const Definition& definitionOf(std::string_view name) {
    const auto& all = definitions();
    const auto found = std::ranges::find(all, name, &Definition::name);
    if (found == all.end()) {
        throw UsageError(fmt::format("unknown option \"{}\": --help lists them", name));
    }
    return *found;
}

void requireFitting(const Definition& definition, const std::optional<std::string>& value) {
    if (definition.value.empty() && value) {
        throw UsageError(fmt::format("{} takes no value", definition.name));
    }
    if (!definition.value.empty() && (!value || value->empty())) {
        throw UsageError(fmt::format("{} needs a value: {}", definition.name, definition.value));
    }
}

} // namespace

std::optional<Options> parseOptions(std::span<const char* const> words) {
    Options options;
    for (std::size_t at = 0; at < words.size(); ++at) {
        const std::string_view word = words[at];
        if (word == "--help" || word == "-h") {
            return std::nullopt;
        }
        const auto equals = word.find('=');
        const Definition& definition = definitionOf(word.substr(0, equals));
        std::optional<std::string> value;
        if (equals != std::string_view::npos) {
            value = word.substr(equals + 1);
        } else if (!definition.value.empty() && at + 1 < words.size()) {
            value = words[++at];
        }
        requireFitting(definition, value);
        definition.apply(options, value.value_or(""));
    }
    if (options.data.empty()) {
        throw UsageError("--data DIR is required: the folder that keeps accounts, rows and objects");
    }
    return options;
}

std::string usage() {
    std::string text = "Usage: veskline-local-project --data DIR [options]\n\n"
                       "A hosted project on your own machine: accounts, tables, object storage and the worker that\n"
                       "ingests, on 127.0.0.1 alone. Its first line of output names its address, and the address\n"
                       "shown in a browser lists files and jobs.\n\n";
    for (const Definition& definition : definitions()) {
        text += fmt::format("  {:<28} {}\n", fmt::format("{} {}", definition.name, definition.value), definition.help);
    }
    return text + fmt::format("  {:<28} {}\n", "--help", "these words");
}

} // namespace local_project
