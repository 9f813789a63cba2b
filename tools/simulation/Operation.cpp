#include "simulation/Operation.h"

#include <fmt/format.h>

#include <algorithm>
#include <sstream>
#include <string_view>

namespace veskline::simulation {

namespace {

constexpr std::array<std::string_view, actionCount> words{
    "write",      "append",       "rewriteUnseen",  "touch",       "moveFile",      "removeFile",    "closeFile",
    "moveFolder", "removeFolder", "closeFolder",    "openAll",     "moveRootAway",  "moveRootsBack", "start",
    "stop",       "signOut",      "signIn",         "expireToken", "pass",          "report",        "fault",
    "heal",       "lockDatabase", "unlockDatabase", "freezeQueue", "freezeSession", "thaw",          "ingest"};

} // namespace

std::string textOf(const Operation& operation) {
    const auto& [first, second, third] = operation.numbers;
    return fmt::format("{} {} {} {} {}", operation.jobsBefore, words.at(static_cast<std::size_t>(operation.action)),
                       first, second, third);
}

std::optional<Operation> operationOf(const std::string& line) {
    std::istringstream in(line);
    Operation operation;
    std::string word;
    auto& [first, second, third] = operation.numbers;
    in >> operation.jobsBefore >> word >> first >> second >> third;
    const auto* const found = std::ranges::find(words, word);
    if (in.fail() || found == words.end()) {
        return std::nullopt;
    }
    operation.action = static_cast<Action>(found - words.begin());
    return operation;
}

} // namespace veskline::simulation
