#pragma once

#include "measure/Sample.h"
#include "runner/Row.h"

#include <string>
#include <vector>

namespace bench {

// A row was run in rounds: each round has every contender once, in turning order, so that what the machine does
// meanwhile meets all of them alike. Costs are medians; a ratio is the median of what was taken times the floor, round
// by round.
struct Comparison {
    struct Cost {
        double amount;
        double ratio;
    };
    struct Contender {
        std::string name;
        Cost wallMilliseconds;
        Cost cpuMilliseconds;
        Cost growthMiB;
    };

    Row row;
    std::vector<Contender> contenders; // the floor, the agent, and whoever else is set beside them
};

// Throws std::runtime_error where a program failed, or did other work than the floor; Interrupted.
[[nodiscard]] Comparison compare(const Row& row, const Programs& programs, int rounds, const WorkFolder& data,
                                 const Interrupt& interrupt);

// Of any number of values but none.
[[nodiscard]] double median(std::vector<double> values);

} // namespace bench
