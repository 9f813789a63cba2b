#include "runner/Comparison.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <optional>
#include <ranges>
#include <stdexcept>

namespace bench {

namespace {

double medianOf(std::vector<double> values) {
    std::ranges::sort(values);
    const std::size_t middle = values.size() / 2;
    return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

} // namespace

Comparison::Comparison(const Row& row, const Surroundings& with)
    : row_(row), contenders_{{"floor", with.floorProgram, {}}, {"agent", with.agentProgram, {}}} {
    const Row::NextArguments nextArguments = row.prepare(with);
    for (int round = 0; round < with.sizes.rounds; ++round) {
        runRound(nextArguments, with, round % 2 == 1);
    }
}

double Comparison::median(const Contender& of, const Quantity& quantity) {
    std::vector<double> values;
    std::ranges::transform(of.samples, std::back_inserter(values), quantity);
    return medianOf(std::move(values));
}

double Comparison::ratio(const Contender& of, const Quantity& quantity) const {
    const std::vector<Sample>& floor = contenders_.front().samples;
    std::vector<double> values;
    for (std::size_t round = 0; round < floor.size(); ++round) {
        values.push_back(quantity(of.samples[round]) / quantity(floor[round]));
    }
    return medianOf(std::move(values));
}

void Comparison::runRound(const Row::NextArguments& nextArguments, const Surroundings& with, bool backwards) {
    std::vector<Contender*> order;
    for (Contender& contender : contenders_) {
        order.push_back(&contender);
    }
    if (backwards) {
        std::ranges::reverse(order);
    }
    for (Contender* contender : order) {
        contender->samples.push_back(runOnce(*contender, nextArguments, with));
    }
    const std::int64_t expected = contenders_.front().samples.back().count;
    for (const Contender& contender : contenders_) {
        if (const std::int64_t count = contender.samples.back().count; count != expected || count == 0) {
            throw std::runtime_error(fmt::format("{} counted {}, the floor {}", contender.name, count, expected));
        }
    }
}

Sample Comparison::runOnce(const Contender& contender, const Row::NextArguments& nextArguments,
                           const Surroundings& with) const {
    std::optional<Sink> sink;
    if (row_.requests) {
        sink.emplace(with.floorProgram, with.interrupt);
    }
    std::vector<std::string> command{contender.program, std::string(row_.name)};
    std::ranges::move(nextArguments(sink ? sink->url() : ""), std::back_inserter(command));
    const Sample sample = Program(std::move(command), with.interrupt).finish();
    if (sink) {
        const Sink::Counts counts = sink->stop();
        const std::int64_t expected = row_.requests(sample.count);
        if (counts.requests != expected || counts.connections != 1) {
            throw std::runtime_error(fmt::format("{} sent {} requests on {} connections instead of {} on 1",
                                                 contender.name, counts.requests, counts.connections, expected));
        }
    }
    return sample;
}

} // namespace bench
