#include "runner/Comparison.h"

#include "runner/Sink.h"

#include <fmt/format.h>

#include <algorithm>
#include <ranges>
#include <stdexcept>

namespace bench {

namespace {

// One contender. Another program that does the same work would stand here with a command of its own; where it gives no
// sample, what the system tells of it counts.
struct Runs {
    std::string name;
    std::string program;
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

void requireSameWork(const std::vector<Runs>& all) {
    const std::int64_t expected = all.front().samples.back().count;
    for (const Runs& runs : all) {
        if (const std::int64_t count = runs.samples.back().count; count != expected || count == 0) {
            throw std::runtime_error(fmt::format("the {} counted {}, the floor {}", runs.name, count, expected));
        }
    }
}

double median(std::vector<double> values) {
    std::ranges::sort(values);
    const std::size_t middle = values.size() / 2;
    return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
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

} // namespace

Comparison compare(const Row& row, const Programs& programs, int rounds, const WorkFolder& data,
                   const Interrupt& interrupt) {
    const Row::NextArguments nextArguments = row.prepare(data);
    std::vector<Runs> all{{.name = "floor", .program = row.isWholeProcess ? programs.windowFloor : programs.floor},
                          {.name = "agent", .program = row.isWholeProcess ? programs.window : programs.agent}};
    for (int round = 0; round < rounds; ++round) {
        for (std::size_t turn = 0; turn < all.size(); ++turn) {
            Runs& runs = all[(turn + static_cast<std::size_t>(round)) % all.size()];
            runs.samples.push_back(runOnce(row, runs.program, nextArguments, programs.floor, interrupt));
        }
        if (!row.isWholeProcess) {
            requireSameWork(all);
        }
    }
    Comparison comparison{.row = row, .contenders = {}};
    for (const Runs& runs : all) {
        comparison.contenders.push_back(contender(runs, all.front()));
    }
    return comparison;
}

} // namespace bench
