#pragma once

#include "measure/Sample.h"
#include "runner/Row.h"

#include <functional>
#include <string>
#include <vector>

namespace bench {

// One of those that do a row's work: the floor, the agent, and whoever else is set beside them.
struct Contender {
    std::string name;
    std::string program;
    std::vector<Sample> samples; // one a round
};

// The runs of one row, in rounds: each round has every contender once, so that what the machine does meanwhile meets
// all of them alike.
class Comparison {
public:
    // Runs the row. Throws std::runtime_error where a program failed or did other work than the floor, Interrupted.
    Comparison(const Row& row, const Surroundings& with);

    [[nodiscard]] const Row& row() const { return row_; }
    [[nodiscard]] const std::vector<Contender>& contenders() const { return contenders_; } // the floor first

    using Quantity = std::function<double(const Sample&)>;
    [[nodiscard]] static double median(const Contender& of, const Quantity& quantity);
    // The median of what `of` took times the floor, round by round.
    [[nodiscard]] double ratio(const Contender& of, const Quantity& quantity) const;

private:
    void runRound(const Row::NextArguments& nextArguments, const Surroundings& with, bool backwards);
    [[nodiscard]] Sample runOnce(const Contender& contender, const Row::NextArguments& nextArguments,
                                 const Surroundings& with) const;

    const Row& row_;
    std::vector<Contender> contenders_;
};

} // namespace bench
