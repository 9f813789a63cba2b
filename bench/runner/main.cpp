#include "runner/Comparison.h"
#include "runner/Frames.h"
#include "runner/Report.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace bench;

constexpr const char* usage = "./dev bench [--quick] [--rounds N] [--only NAME]... [--json]\n"
                              "  --quick     a tenth of the work, three rounds\n"
                              "  --rounds N  how often each program runs\n"
                              "  --only NAME walk, start, rescan, digest, sync, upload, watch, events, window or "
                              "frames; may be given more than once\n"
                              "  --json      one JSON document instead of the table\n";

struct Options {
    Sizes sizes;
    int rounds = 5;
    std::vector<std::string> only;
    bool isJson = false;
};

Options readOptions(const std::vector<std::string>& arguments) {
    Options options;
    for (auto argument = arguments.begin(); argument != arguments.end(); ++argument) {
        const bool hasValue = std::next(argument) != arguments.end();
        if (*argument == "--quick") {
            options.sizes = quickSizes;
            options.rounds = 3;
        } else if (*argument == "--json") {
            options.isJson = true;
        } else if (*argument == "--only" && hasValue) {
            options.only.push_back(*++argument);
        } else if (*argument == "--rounds" && hasValue) {
            options.rounds = std::max(1, std::atoi((++argument)->c_str()));
        } else {
            throw std::invalid_argument(usage);
        }
    }
    return options;
}

std::vector<Row> chosenRows(const Options& options, std::vector<Row> rows) {
    if (options.only.empty()) {
        return rows;
    }
    std::vector<Row> chosen;
    for (const std::string& name : options.only) {
        if (name == "frames") {
            continue;
        }
        const auto row = std::ranges::find(rows, name, &Row::name);
        if (row == rows.end()) {
            throw std::invalid_argument(usage);
        }
        chosen.push_back(*row);
    }
    return chosen;
}

bool wantsFrames(const Options& options) {
    return options.only.empty() || std::ranges::find(options.only, "frames") != options.only.end();
}

// What fails is told, and the others are measured all the same.
bool attempt(const std::string& name, const std::function<void()>& measure) {
    try {
        measure();
        return true;
    } catch (const std::runtime_error& error) {
        std::fprintf(stderr, "%s: %s\n", name.c_str(), error.what());
        return false;
    }
}

int run(const Options& options, const Interrupt& interrupt) {
    const std::filesystem::path folder = std::filesystem::read_symlink("/proc/self/exe").parent_path();
    const Programs programs{.agent = folder / "veskline-bench-work",
                            .floor = folder / "veskline-bench-floor",
                            .window = folder / "veskline-bench-window",
                            .windowFloor = folder / "veskline-bench-window-floor"};
    nlohmann::json document{{"machine", Report::json(options.rounds)}, {"rows", nlohmann::json::array()}};
    const auto tell = [&](const nlohmann::json& json, const std::string& table) {
        document["rows"].push_back(json);
        std::fputs(options.isJson ? "" : table.c_str(), stdout);
        std::fflush(stdout);
    };
    std::fputs(options.isJson ? "" : Report::head(options.rounds).c_str(), stdout);
    bool isWhole = true;
    for (const Row& row : chosenRows(options, allRows(options.sizes, programs, interrupt))) {
        isWhole &= attempt(row.name, [&] {
            const WorkFolder data(interrupt);
            const Comparison comparison = compare(row, programs, options.rounds, data, interrupt);
            tell(Report::json(comparison), Report::table(comparison));
        });
    }
    if (wantsFrames(options)) {
        isWhole &= attempt("frames", [&] {
            const WorkFolder data(interrupt);
            const Frames frames(programs.window, data, interrupt);
            tell(frames.json(), frames.table());
        });
    }
    std::fputs(options.isJson ? (document.dump(2) + "\n").c_str() : "", stdout);
    return isWhole ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    // A window needs no display here, and is drawn alike on every machine.
    setenv("QT_QPA_PLATFORM", "offscreen", 1);
    setenv("QT_QUICK_BACKEND", "software", 1);
    try {
        const Interrupt interrupt;
        return run(readOptions({argv + 1, argv + argc}), interrupt);
    } catch (const Interrupted& end) {
        return 128 + end.signal;
    } catch (const std::invalid_argument& wrong) {
        std::fputs(wrong.what(), stderr);
        return 2;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
