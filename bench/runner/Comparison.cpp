#include "runner/Comparison.h"

#include "runner/Sink.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <ranges>
#include <stdexcept>
#include <string_view>

namespace bench {

namespace {

// One contender, and how it is run once.
struct Runs {
    std::string name;
    std::function<Sample()> run;
    std::vector<Sample> samples = {}; // one a round
};

Sample run(const Row& row, const std::string& program, Row::Arguments arguments, const Interrupt& interrupt) {
    arguments.insert(arguments.begin(), {program, row.name});
    return Program(std::move(arguments), interrupt).finish();
}

Sample runOnce(const Row& row, const std::string& program, const Row::NextArguments& nextArguments,
               const std::string& sinkProgram, const Interrupt& interrupt) {
    if (!row.requests) {
        return run(row, program, nextArguments(""), interrupt);
    }
    Sink sink(sinkProgram, interrupt);
    const Sample sample = run(row, program, nextArguments(sink.url()), interrupt);
    sink.require(*row.requests);
    return sample;
}

bool isInstalled(const std::string& program) {
    const char* const path = std::getenv("PATH");
    return std::ranges::any_of(std::views::split(std::string_view(path == nullptr ? "" : path), ':'),
                               [&](const auto& folder) {
                                   const std::string place(folder.begin(), folder.end());
                                   return access((place + "/" + program).c_str(), X_OK) == 0;
                               });
}

void requireSameWork(const Runs& agent, const Runs& floor) {
    const std::int64_t count = agent.samples.back().count;
    if (const std::int64_t expected = floor.samples.back().count; count != expected || count == 0) {
        throw std::runtime_error(fmt::format("the agent counted {}, the floor {}", count, expected));
    }
}

template <class Quantity>
Comparison::Cost cost(const Runs& runs, const Runs& floor, Quantity quantity) {
    const auto amount = [&](const Sample& sample) { return static_cast<double>(quantity(sample)); };
    std::vector<double> amounts(runs.samples.size());
    std::vector<double> ratios(runs.samples.size());
    std::ranges::transform(runs.samples, amounts.begin(), amount);
    std::ranges::transform(runs.samples, floor.samples, ratios.begin(),
                           [&](const Sample& one, const Sample& other) { return amount(one) / amount(other); });
    return {.amount = median(amounts), .ratio = median(ratios)};
}

Comparison::Contender contender(const Runs& runs, const Runs& floor) {
    using Milliseconds = std::chrono::duration<double, std::milli>;
    return {
        .name = runs.name,
        .wallMilliseconds = cost(runs, floor, [](const Sample& sample) { return Milliseconds(sample.wall).count(); }),
        .cpuMilliseconds = cost(runs, floor, [](const Sample& sample) { return Milliseconds(sample.cpu).count(); }),
        .growthMiB = cost(runs, floor, [](const Sample& s) { return static_cast<double>(s.growthKiB) / 1024; }),
    };
}

// The floor, the agent, and the peers that are installed.
std::vector<Runs> contenders(const Row& row, const Programs& programs, const WorkFolder& data,
                             const Interrupt& interrupt) {
    const Row::NextArguments nextArguments = row.prepare(data);
    const auto own = [=, &row, &programs, &interrupt](const std::string& program) {
        return [=, &row, &programs, &interrupt] {
            return runOnce(row, program, nextArguments, programs.floor, interrupt);
        };
    };
    std::vector<Runs> all{{.name = "floor", .run = own(row.isWholeProcess ? programs.windowFloor : programs.floor)},
                          {.name = "agent", .run = own(row.isWholeProcess ? programs.window : programs.agent)}};
    for (const Peer& peer : row.peers) {
        if (isInstalled(peer.name)) {
            const std::vector<std::string> command = peer.prepare(data, nextArguments("").front());
            all.push_back({.name = peer.name, .run = [=, &interrupt] { return Program(command, interrupt).finish(); }});
        }
    }
    return all;
}

} // namespace

double median(std::vector<double> values) {
    std::ranges::sort(values);
    const std::size_t middle = values.size() / 2;
    return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

Comparison compare(const Row& row, const Programs& programs, int rounds, const WorkFolder& data,
                   const Interrupt& interrupt) {
    std::vector<Runs> all = contenders(row, programs, data, interrupt);
    for (int round = 0; round < rounds; ++round) {
        for (std::size_t turn = 0; turn < all.size(); ++turn) {
            Runs& runs = all[(turn + static_cast<std::size_t>(round)) % all.size()];
            runs.samples.push_back(runs.run());
        }
        if (!row.isWholeProcess) {
            requireSameWork(all[1], all[0]);
        }
    }
    Comparison comparison{.row = row, .contenders = {}};
    for (const Runs& runs : all) {
        comparison.contenders.push_back(contender(runs, all.front()));
    }
    return comparison;
}

} // namespace bench
