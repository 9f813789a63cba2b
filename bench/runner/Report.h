#pragma once

#include "runner/Comparison.h"

#include <nlohmann/json_fwd.hpp>

#include <string>

// The results of a run, for people and for machines.
namespace bench::Report {

// What was measured where, and the heads of the columns.
[[nodiscard]] std::string head(int rounds);
// What the row means, and a line for each contender; the agent's ends with its goals.
[[nodiscard]] std::string table(const Comparison& comparison);

[[nodiscard]] nlohmann::json json(int rounds);
[[nodiscard]] nlohmann::json json(const Comparison& comparison);

} // namespace bench::Report
