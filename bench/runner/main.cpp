#include "runner/Comparison.h"
#include "runner/Options.h"
#include "runner/Report.h"

#include <nlohmann/json.hpp>

#include <cstdio>
#include <exception>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace {

using namespace bench;

std::optional<Comparison> compare(const Row& row, const Options& options, const Interrupt& interrupt) {
    const std::filesystem::path programs = std::filesystem::read_symlink("/proc/self/exe").parent_path();
    const WorkFolder data(interrupt);
    const Surroundings with{.sizes = options.sizes,
                            .data = data,
                            .interrupt = interrupt,
                            .agentProgram = programs / "veskline-bench-work",
                            .floorProgram = programs / "veskline-bench-floor"};
    try {
        return Comparison(row, with);
    } catch (const Interrupted&) {
        throw;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s: %s\n", std::string(row.name).c_str(), error.what());
        return std::nullopt;
    }
}

int run(const Options& options, const Interrupt& interrupt) {
    bool haveAllWorked = true;
    nlohmann::json document{{"surroundings", Report::surroundings(options.sizes)}, {"rows", nlohmann::json::array()}};
    if (!options.isJson) {
        std::fputs(Report::head(options.sizes).c_str(), stdout);
    }
    for (const Row& row : options.rows) {
        const std::optional<Comparison> comparison = compare(row, options, interrupt);
        if (!comparison) {
            haveAllWorked = false;
        } else if (options.isJson) {
            document["rows"].push_back(Report::record(*comparison, options.sizes));
        } else {
            std::fputs(Report::table(*comparison, options.sizes).c_str(), stdout);
        }
        std::fflush(stdout);
    }
    if (options.isJson) {
        std::puts(document.dump(2).c_str());
    }
    return haveAllWorked ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    try {
        const std::vector<std::string> arguments(argv + 1, argv + argc);
        const Options options = Options::read(arguments);
        if (options.wantsHelp) {
            std::fputs(usage, stdout);
            return 0;
        }
        const Interrupt interrupt;
        return run(options, interrupt);
    } catch (const Interrupted& end) {
        return 128 + end.signal;
    } catch (const std::invalid_argument& error) {
        std::fprintf(stderr, "%s\n%s", error.what(), usage);
        return 2;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
