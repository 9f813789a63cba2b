#include "runner/Report.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <sys/utsname.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <thread>

namespace bench::Report {

namespace {

struct Verdict {
    std::string quantity;
    double goal;
    double reached;
    [[nodiscard]] bool isMet() const { return reached <= goal; }
};

std::vector<Verdict> verdicts(const Comparison& comparison) {
    const Goal& goal = comparison.row.goal;
    const Comparison::Contender& floor = comparison.contenders[0];
    const Comparison::Contender& agent = comparison.contenders[1];
    std::vector<Verdict> list;
    if (goal.wall) {
        list.push_back({"wall", *goal.wall, agent.wallMilliseconds.ratio});
    }
    if (goal.cpu) {
        list.push_back({"cpu", *goal.cpu, agent.cpuMilliseconds.ratio});
    }
    if (goal.wallMilliseconds) {
        list.push_back({"ms", *goal.wallMilliseconds, agent.wallMilliseconds.amount});
    }
    if (goal.growthMiB) {
        list.push_back({"growth", *goal.growthMiB, agent.growthMiB.amount});
    }
    if (goal.growthOverFloorMiB) {
        list.push_back({"over floor", *goal.growthOverFloorMiB, agent.growthMiB.amount - floor.growthMiB.amount});
    }
    for (const Peer& peer : comparison.row.peers) {
        const auto found = std::ranges::find(comparison.contenders, peer.name, &Comparison::Contender::name);
        if (peer.timesFaster > 0 && found != comparison.contenders.end()) {
            list.push_back(
                {peer.name, 1 / peer.timesFaster, agent.wallMilliseconds.amount / found->wallMilliseconds.amount});
        }
    }
    return list;
}

std::string processor() {
    std::ifstream file("/proc/cpuinfo");
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with("model name")) {
            return line.substr(line.find(':') + 2);
        }
    }
    return "unknown processor";
}

double load() {
    double lastMinute = 0;
    return getloadavg(&lastMinute, 1) == 1 ? lastMinute : 0;
}

} // namespace

std::string head(int rounds) {
    utsname system{};
    uname(&system);
    return fmt::format("{} x {}, {} {}, load {:.2f}. Medians of {} rounds; x: times the floor. Of other "
                       "programs all memory counts.\n\n"
                       "{:10}{:>12}{:>7}{:>10}{:>7}{:>12}  goals\n",
                       std::thread::hardware_concurrency(), processor(), system.sysname, system.release, load(), rounds,
                       "", "wall ms", "x", "cpu ms", "x", "growth MiB");
}

std::string table(const Comparison& comparison) {
    std::string text = fmt::format("{}: {}\n", comparison.row.name, comparison.row.meaning);
    for (const Comparison::Contender& contender : comparison.contenders) {
        const auto& [name, wall, cpu, growth] = contender;
        text += fmt::format("  {:8}{:12.1f}{:7.2f}{:10.1f}{:7.2f}{:12.1f}", name, wall.amount, wall.ratio, cpu.amount,
                            cpu.ratio, growth.amount);
        if (name == "agent") {
            for (const Verdict& verdict : verdicts(comparison)) {
                text +=
                    fmt::format("  {} {:.2f} {}", verdict.quantity, verdict.goal, verdict.isMet() ? "met" : "MISSED");
            }
        }
        text += '\n';
    }
    return text;
}

nlohmann::json json(int rounds) {
    return {{"processor", processor()},
            {"processors", std::thread::hardware_concurrency()},
            {"load", load()},
            {"rounds", rounds}};
}

nlohmann::json json(const Comparison& comparison) {
    nlohmann::json row{{"name", comparison.row.name}, {"meaning", comparison.row.meaning}};
    for (const Comparison::Contender& contender : comparison.contenders) {
        const auto& [name, wall, cpu, growth] = contender;
        row["contenders"][name] = {{"wall_ms", wall.amount},
                                   {"wall_ratio", wall.ratio},
                                   {"cpu_ms", cpu.amount},
                                   {"cpu_ratio", cpu.ratio},
                                   {"growth_mib", growth.amount}};
        if (name == "agent") {
            for (const Verdict& verdict : verdicts(comparison)) {
                row["goals"][verdict.quantity] = {
                    {"goal", verdict.goal}, {"reached", verdict.reached}, {"met", verdict.isMet()}};
            }
        }
    }
    return row;
}

} // namespace bench::Report
