#pragma once

#include "runner/Comparison.h"
#include "runner/Scale.h"

#include <string>
#include <vector>

// Results as pictures for the docs, in SVG 1.1 without anything from elsewhere.

namespace bench::Picture {

// A bar a row: what the agent takes, times its floor, with a mark where its goal is.
[[nodiscard]] std::string bars(const std::vector<Comparison>& comparisons);

// Time and memory over the number of files, both axes logarithmic: what is linear runs along the diagonals.
[[nodiscard]] std::string plot(const Scale& scale);

// Throws std::system_error where the file cannot be written.
void write(const std::string& path, const std::string& picture);

} // namespace bench::Picture
