#include "command_line/WholeNumber.h"
#include "runner/Comparison.h"
#include "runner/FirstScans.h"
#include "runner/Frames.h"
#include "runner/Idle.h"
#include "runner/Picture.h"
#include "runner/Report.h"
#include "runner/Scale.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace bench;

constexpr const char* usage =
    "./dev bench [--quick] [--rounds N] [--only NAME]... [--scale] [--pictures FOLDER] [--json]\n"
    "  --quick     a tenth of the work, three rounds\n"
    "  --rounds N  how often each program runs\n"
    "  --only NAME walk, start, rescan, digest, sync, upload, watch, events, window, "
    "frames, scan or idle; may be given more than once\n"
    "  --scale     instead of the table, what a scan costs from 1 000 files to a million\n"
    "  --pictures FOLDER\n"
    "              draw bench.svg, or scale.svg, there\n"
    "  --json      one JSON document instead of the table\n"
    "  --help      these words\n";

struct Options {
    Sizes sizes;
    int rounds = 5;
    std::vector<std::string> only;
    bool isJson = false;
    bool isScale = false;
    std::string pictures; // a folder, where they are wanted
};

std::invalid_argument refusal(const std::string& word) {
    return std::invalid_argument("veskline-bench: \"" + word + "\" is not understood: --help lists the options.\n");
}

int readRounds(const std::string& word) {
    constexpr std::uint32_t most = 10'000;
    const std::uint32_t rounds = command_line::wholeNumber(word, most).value_or(0);
    return rounds > 0 ? static_cast<int>(rounds) : throw refusal(word);
}

// Absent where help is asked for.
std::optional<Options> readOptions(const std::vector<std::string>& arguments) {
    Options options;
    for (auto argument = arguments.begin(); argument != arguments.end(); ++argument) {
        const bool hasValue = std::next(argument) != arguments.end();
        if (*argument == "--help") {
            return std::nullopt;
        }
        if (*argument == "--quick") {
            options.sizes = quickSizes;
            options.rounds = 3;
        } else if (*argument == "--json") {
            options.isJson = true;
        } else if (*argument == "--scale") {
            options.isScale = true;
        } else if (*argument == "--pictures" && hasValue) {
            options.pictures = *++argument;
        } else if (*argument == "--only" && hasValue) {
            options.only.push_back(*++argument);
        } else if (*argument == "--rounds" && hasValue) {
            options.rounds = readRounds(*++argument);
        } else {
            throw refusal(*argument);
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
        if (name == "frames" || name == "scan" || name == "idle") {
            continue;
        }
        const auto row = std::ranges::find(rows, name, &Row::name);
        if (row == rows.end()) {
            throw refusal(name);
        }
        chosen.push_back(*row);
    }
    return chosen;
}

bool wants(const Options& options, const char* name) {
    return options.only.empty() || std::ranges::find(options.only, name) != options.only.end();
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

Programs programs() {
    const std::filesystem::path folder = std::filesystem::read_symlink("/proc/self/exe").parent_path();
    return {.agent = folder / "veskline-bench-work",
            .floor = folder / "veskline-bench-floor",
            .window = folder / "veskline-bench-window",
            .windowFloor = folder / "veskline-bench-window-floor"};
}

// Prints each result as soon as it is there, or in the end all of them as one document.
class Output {
public:
    explicit Output(const Options& options) : isJson_(options.isJson), machine_(Report::json(options.rounds)) {
        say(Report::head(options.rounds));
    }
    void tell(nlohmann::json json, const std::string& table) {
        rows_.push_back(std::move(json));
        say(table);
    }
    void end() const {
        if (isJson_) {
            std::puts(nlohmann::json{{"machine", machine_}, {"rows", rows_}}.dump(2).c_str());
        }
    }

private:
    void say(const std::string& words) const {
        std::fputs(isJson_ ? "" : words.c_str(), stdout);
        std::fflush(stdout);
    }

    bool isJson_;
    nlohmann::json machine_;
    nlohmann::json rows_ = nlohmann::json::array();
};

bool compareAll(const Options& options, const std::vector<Row>& rows, const Programs& all, const Interrupt& interrupt,
                Output& output) {
    std::vector<Comparison> comparisons;
    bool isWhole = true;
    for (const Row& row : rows) {
        isWhole &= attempt(row.name, [&] {
            const WorkFolder data(interrupt);
            comparisons.push_back(compare(row, all, options.rounds, data, interrupt));
            output.tell(Report::json(comparisons.back()), Report::table(comparisons.back()));
        });
    }
    const auto measure = [&](const char* name, const auto& kind) {
        if (wants(options, name)) {
            isWhole &= attempt(name, [&] {
                const WorkFolder data(interrupt);
                const auto measured = kind(data);
                output.tell(measured.json(), measured.table());
            });
        }
    };
    const Sizes& sizes = options.sizes;
    measure("frames", [&](const WorkFolder& data) { return Frames(sizes, all.window, data, interrupt); });
    measure("scan", [&](const WorkFolder& data) { return FirstScans(sizes, all, data, interrupt); });
    measure("idle", [&](const WorkFolder& data) { return Idle(sizes, all, data, interrupt); });
    if (!options.pictures.empty() && !comparisons.empty()) {
        Picture::write(options.pictures + "/bench.svg", Picture::bars(comparisons));
    }
    return isWhole;
}

bool scale(const Options& options, const Programs& all, const Interrupt& interrupt, Output& output) {
    return attempt("scale", [&] {
        const Scale scale(options.sizes, all, options.rounds, interrupt);
        output.tell(scale.json(), scale.table());
        if (!options.pictures.empty()) {
            Picture::write(options.pictures + "/scale.svg", Picture::plot(scale));
        }
    });
}

int run(const Options& options, const Interrupt& interrupt) {
    const Programs all = programs();
    const std::vector<Row> rows = chosenRows(options, allRows(options.sizes, all, interrupt));
    Output output(options);
    const bool isWhole =
        options.isScale ? scale(options, all, interrupt, output) : compareAll(options, rows, all, interrupt, output);
    output.end();
    return isWhole ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    // A window needs no display here, and is drawn alike on every machine.
    setenv("QT_QPA_PLATFORM", "offscreen", 1);
    setenv("QT_QUICK_BACKEND", "software", 1);
    try {
        const std::optional<Options> options = readOptions({argv + 1, argv + argc});
        if (!options) {
            std::fputs(usage, stdout);
            return 0;
        }
        const Interrupt interrupt;
        return run(*options, interrupt);
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
