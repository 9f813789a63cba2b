#pragma once

#include "runner/Comparison.h"

#include <nlohmann/json_fwd.hpp>

#include <string>

namespace bench {

// The results of a run, for people and for machines. Both name medians, and ratios as medians of the rounds' ratios.
namespace Report {

// What was measured where, and the heads of the columns.
[[nodiscard]] std::string head(const Sizes& sizes);
// What the row means, and a line for each contender; the agent's ends with its goals.
[[nodiscard]] std::string table(const Comparison& comparison, const Sizes& sizes);

[[nodiscard]] nlohmann::json surroundings(const Sizes& sizes);
[[nodiscard]] nlohmann::json record(const Comparison& comparison, const Sizes& sizes);

} // namespace Report

} // namespace bench
