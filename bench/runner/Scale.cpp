#include "runner/Scale.h"

#include "runner/Comparison.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>

namespace bench {

namespace {

constexpr std::int64_t fewestFiles = 1'000;
constexpr std::int64_t step = 10;

constexpr const char* kinds[] = {"walk", "start", "rescan"};

} // namespace

Scale::Scale(const Sizes& largest, const Programs& programs, int rounds, const Interrupt& interrupt) {
    for (const char* const kind : kinds) {
        lines_.push_back({.name = kind, .points = {}});
    }
    for (std::int64_t files = fewestFiles; files <= largest.scaleFiles; files *= step) {
        measure(files, programs, rounds, interrupt);
    }
}

void Scale::measure(std::int64_t files, const Programs& programs, int rounds, const Interrupt& interrupt) {
    Sizes sizes;
    sizes.treeFiles = files;
    for (Row& row : allRows(sizes, programs, interrupt)) {
        const auto line = std::ranges::find(lines_, row.name, &Line::name);
        if (line == lines_.end()) {
            continue;
        }
        row.peers.clear();
        const WorkFolder data(interrupt);
        const Comparison comparison = compare(row, programs, rounds, data, interrupt);
        const Comparison::Contender& agent = comparison.contenders[1];
        line->points.push_back({files, agent.wallMilliseconds.amount, agent.growthMiB.amount});
    }
}

std::string Scale::table() const {
    std::string text = fmt::format("{:10}{:>10}{:>12}{:>12}{:>12}{:>14}\n", "", "files", "wall ms", "us a file",
                                   "growth MiB", "bytes a file");
    for (const Line& line : lines_) {
        for (const Point& point : line.points) {
            text += fmt::format("{:10}{:>10}{:>12.1f}{:>12.2f}{:>12.1f}{:>14.0f}\n", line.name, point.files,
                                point.milliseconds, point.microsecondsAFile(), point.growthMiB, point.bytesAFile());
        }
    }
    return text;
}

nlohmann::json Scale::json() const {
    nlohmann::json lines = nlohmann::json::object();
    for (const Line& line : lines_) {
        for (const Point& point : line.points) {
            lines[line.name].push_back(
                {{"files", point.files}, {"wall_ms", point.milliseconds}, {"growth_mib", point.growthMiB}});
        }
    }
    return {{"name", "scale"}, {"lines", lines}};
}

} // namespace bench
