#include "command_line/WholeNumber.h"
#include "kills/Trial.h"
#include "support/TemporaryFolder.h"

#include <fmt/format.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace {

constexpr int promiseBroken = 1;
constexpr int badCommandLine = 2;
constexpr int brokenOff = 3;

constexpr std::string_view usage = R"(veskline-kills [ROUNDS] [--seed N]

Kills the built agent with SIGKILL, once a round (500): at random, and at each step of its work, held there by the
hosted side or in the very call. Starts it again, and compares the hosted side with the disk. Prints what is broken.
Ends with 1 where something is, with 3 where it could not go on.
)";

struct Options {
    std::uint64_t rounds = 500;
    std::uint64_t seed = 1;
};

std::optional<Options> parse(std::span<char*> words) {
    Options options;
    for (std::size_t i = 0; i < words.size(); ++i) {
        const bool isSeed = std::string_view(words[i]) == "--seed" && i + 1 < words.size();
        const auto number = command_line::wholeNumber<std::uint64_t>(words[isSeed ? ++i : i]);
        if (!number || (!isSeed && *number == 0)) {
            fmt::print(stderr, "\"{}\" is no number of rounds: --help lists the options.\n", words[i]);
            return std::nullopt;
        }
        (isSeed ? options.seed : options.rounds) = *number;
    }
    return options;
}

void print(const Options& options, const kills::Findings& findings, std::chrono::duration<double> time) {
    for (const auto& [moment, count] : findings.perMoment) {
        fmt::print("{:5}  {}\n", count, moment);
    }
    fmt::print("seed {}: {} kills at {} kinds of moment in {:.1f} s; {} left a temporary file or a journal behind, "
               "{} took a renewed session with them (signed in anew)\n",
               options.seed, findings.kills, findings.perMoment.size(), time.count(), findings.leftovers,
               findings.signedInAnew);
    if (findings.broken.empty()) {
        fmt::print("0 files lost, 0 unreadable stores, integrity_check ok each time, 0 temporary files left\n");
    }
    for (const std::string& line : findings.broken) {
        fmt::print("BROKEN  {}\n", line);
    }
}

int tryIn(const std::filesystem::path& folder, const Options& options) {
    const auto begin = std::chrono::steady_clock::now();
    kills::Trial trial(folder, options.seed);
    const kills::Findings& findings = trial.run(options.rounds);
    print(options, findings, std::chrono::steady_clock::now() - begin);
    return findings.broken.empty() && findings.kills == options.rounds ? EXIT_SUCCESS : promiseBroken;
}

} // namespace

int main(int count, char** words) {
    if (count == 2 && std::string_view(words[1]) == "--help") {
        fmt::print("{}", usage);
        return EXIT_SUCCESS;
    }
    const std::optional<Options> options = parse(std::span(words + 1, static_cast<std::size_t>(count - 1)));
    if (!options) {
        return badCommandLine;
    }
    std::filesystem::path folder;
    int exitCode = brokenOff;
    try {
        folder = TemporaryFolder::make("veskline-kills");
        exitCode = tryIn(folder, *options);
    } catch (const std::exception& error) {
        fmt::print(stderr, "veskline-kills: {}\n", error.what());
    }
    if (exitCode == EXIT_SUCCESS) {
        std::filesystem::remove_all(folder);
    } else if (!folder.empty()) {
        fmt::print("The state is kept in {}\n", folder.string());
    }
    return exitCode;
}
