#include "command_line/WholeNumber.h"
#include "simulation/Simulation.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <fstream>
#include <iterator>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

namespace {

using namespace veskline::simulation;

constexpr int promiseBroken = 1;
constexpr int badCommandLine = 2;
constexpr int brokenOff = 3;

constexpr std::string_view usage = R"(veskline-simulation [--seeds FROM..TO | --seed N | --script FILE] [--verbose]

Runs the sync engine from seeds, each of them a life of its own of files, users, faults and restarts, and checks every
promise. Prints what a failing seed breaks and the shortest script that still breaks it. The default is --seeds 1..2000.
Ends with 1 where a promise is broken, with 3 where it could not go on.
)";

struct Options {
    std::uint64_t from = 1;
    std::uint64_t to = 2000;
    std::optional<std::string> script;
    bool isVerbose = false;
};

struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

std::uint64_t numberOf(std::string_view text) {
    const std::optional<std::uint64_t> number = command_line::wholeNumber<std::uint64_t>(text);
    return number ? *number : throw UsageError(fmt::format("\"{}\" is no number", text));
}

Options parse(std::span<char*> words) {
    Options options;
    for (std::size_t i = 0; i < words.size(); ++i) {
        const std::string_view word = words[i];
        if (word == "--verbose") {
            options.isVerbose = true;
            continue;
        }
        if (i + 1 == words.size()) {
            throw UsageError(fmt::format("\"{}\" is no option, or lacks its value", word));
        }
        const std::string_view value = words[++i];
        if (word == "--seeds" && value.contains("..")) {
            options.from = numberOf(value.substr(0, value.find("..")));
            options.to = numberOf(value.substr(value.find("..") + 2));
        } else if (word == "--seed") {
            options.from = options.to = numberOf(value);
        } else if (word == "--script") {
            options.script = std::string(value);
        } else {
            throw UsageError(fmt::format("\"{} {}\" is no option", word, value));
        }
    }
    return options;
}

// What many runs found together.
struct Total {
    std::size_t runs = 0;
    std::size_t operations = 0;
    std::size_t violations = 0;
    Findings findings;

    void add(const Script& script, const Findings& one) {
        ++runs;
        operations += script.operations.size();
        violations += one.violations.size();
        for (const auto& [kind, count] : one.faults) {
            findings.faults[kind] += count;
        }
        for (const auto& [kind, count] : one.allowed) {
            findings.allowed[kind] += count;
        }
    }
};

std::string listOf(const Findings::Counts& counts) {
    std::string list;
    for (const auto& [kind, count] : counts) {
        list += fmt::format("{}{} {}", list.empty() ? "" : ", ", kind, count);
    }
    return list.empty() ? "none" : list;
}

void run(const Script& script, bool isVerbose, Total& total) {
    const Outcome outcome = simulate(script, isVerbose ? Trace::Keeps::everyLine : Trace::Keeps::hashAlone);
    total.add(script, outcome.findings);
    if (isVerbose) {
        fmt::print("{}seed {}: trace {:016x}\n", outcome.trace, script.seed, outcome.traceHash);
    }
    if (outcome.findings.violations.empty()) {
        return;
    }
    for (const std::string& violation : outcome.findings.violations) {
        fmt::print("seed {} breaks: {}\n", script.seed, violation);
    }
    if (!isVerbose) {
        fmt::print("The shortest script that breaks it:\n{}", shrink(script).text());
    }
    std::fflush(stdout);
}

Script scriptIn(const std::string& file) {
    std::ifstream in(file);
    if (!in) {
        throw std::runtime_error(fmt::format("the script {} can't be read: {}", file, std::strerror(errno)));
    }
    return Script::ofText(std::string(std::istreambuf_iterator<char>(in), {}));
}

int run(const Options& options) {
    Total total;
    if (options.script) {
        run(scriptIn(*options.script), options.isVerbose, total);
    } else {
        for (std::uint64_t seed = options.from; seed <= options.to; ++seed) {
            run(Script::ofSeed(seed), options.isVerbose, total);
        }
    }
    fmt::print("{} runs, {} operations; faults: {}; allowed apart: {}; violations: {}\n", total.runs, total.operations,
               listOf(total.findings.faults), listOf(total.findings.allowed), total.violations);
    return total.violations == 0 ? EXIT_SUCCESS : promiseBroken;
}

} // namespace

int main(int count, char** words) {
    if (count == 2 && std::string_view(words[1]) == "--help") {
        fmt::print("{}", usage);
        return EXIT_SUCCESS;
    }
    try {
        return run(parse(std::span(words, static_cast<std::size_t>(count)).subspan(1)));
    } catch (const UsageError& error) {
        fmt::print(stderr, "{}: --help lists the options.\n", error.what());
        return badCommandLine;
    } catch (const std::exception& error) {
        fmt::print(stderr, "The simulation could not go on: {}\n", error.what());
        return brokenOff;
    }
}
