#include "runner/Report.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <sys/utsname.h>

#include <array>
#include <cstdlib>
#include <fstream>
#include <thread>

namespace bench::Report {

namespace {

double wall(const Sample& sample) {
    return static_cast<double>(sample.wall.count()) / 1000.0;
}
double cpu(const Sample& sample) {
    return static_cast<double>(sample.cpu.count()) / 1000.0;
}
double growth(const Sample& sample) {
    return static_cast<double>(sample.growthKiB) / 1024.0;
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

std::string kernel() {
    utsname name{};
    uname(&name);
    return std::string(name.sysname) + " " + name.release;
}

double load() {
    std::array<double, 1> average{};
    return getloadavg(average.data(), 1) == 1 ? average[0] : 0;
}

struct Verdict {
    std::string quantity;
    double reached;
    double goal;
    [[nodiscard]] bool isMet() const { return reached <= goal; }
};

std::vector<Verdict> verdicts(const Comparison& comparison, const Contender& agent) {
    const Goal& goal = comparison.row().goal;
    std::vector<Verdict> list{{"wall", comparison.ratio(agent, wall), goal.wall}};
    if (goal.cpu) {
        list.push_back({"cpu", comparison.ratio(agent, cpu), *goal.cpu});
    }
    if (goal.growthMiB) {
        list.push_back({"growth", Comparison::median(agent, growth), *goal.growthMiB});
    }
    return list;
}

std::string goals(const Comparison& comparison, const Contender& agent) {
    std::string text;
    for (const Verdict& verdict : verdicts(comparison, agent)) {
        text += fmt::format("  {} {:.2f} {}", verdict.quantity, verdict.goal, verdict.isMet() ? "met" : "MISSED");
    }
    return text;
}

} // namespace

std::string head(const Sizes& sizes) {
    return fmt::format("{}, {} processors, {}, load {:.2f}. Medians of {} interleaved rounds; x: times the floor.\n\n"
                       "                 wall ms      x    cpu ms      x  growth MiB  goals\n",
                       processor(), std::thread::hardware_concurrency(), kernel(), load(), sizes.rounds);
}

std::string table(const Comparison& comparison, const Sizes& sizes) {
    std::string text = fmt::format("{}: {}\n", comparison.row().name, comparison.row().meaning(sizes));
    const Contender& floor = comparison.contenders().front();
    for (const Contender& contender : comparison.contenders()) {
        const bool isFloor = &contender == &floor;
        const auto ratio = [&](const Comparison::Quantity& quantity) {
            return isFloor ? std::string() : fmt::format("{:.2f}", comparison.ratio(contender, quantity));
        };
        text += fmt::format("  {:<10}{:>12.1f}{:>7}{:>10.1f}{:>7}{:>12.1f}", contender.name,
                            Comparison::median(contender, wall), ratio(wall), Comparison::median(contender, cpu),
                            ratio(cpu), Comparison::median(contender, growth));
        text += contender.name == "agent" ? goals(comparison, contender) + "\n" : "\n";
    }
    return text;
}

nlohmann::json surroundings(const Sizes& sizes) {
    return {{"processor", processor()},
            {"processors", std::thread::hardware_concurrency()},
            {"kernel", kernel()},
            {"load", load()},
            {"rounds", sizes.rounds}};
}

nlohmann::json record(const Comparison& comparison, const Sizes& sizes) {
    nlohmann::json json{{"name", comparison.row().name}, {"meaning", comparison.row().meaning(sizes)}};
    for (const Contender& contender : comparison.contenders()) {
        json["contenders"].push_back({{"name", contender.name},
                                      {"wall_ms", Comparison::median(contender, wall)},
                                      {"wall_ratio", comparison.ratio(contender, wall)},
                                      {"cpu_ms", Comparison::median(contender, cpu)},
                                      {"cpu_ratio", comparison.ratio(contender, cpu)},
                                      {"growth_mib", Comparison::median(contender, growth)}});
        if (contender.name == "agent") {
            for (const Verdict& verdict : verdicts(comparison, contender)) {
                json["goals"].push_back({{"quantity", verdict.quantity},
                                         {"goal", verdict.goal},
                                         {"reached", verdict.reached},
                                         {"met", verdict.isMet()}});
            }
        }
    }
    return json;
}

} // namespace bench::Report
