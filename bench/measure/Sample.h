#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string_view>

namespace bench {

// What one piece of work cost.
struct Sample {
    std::chrono::microseconds wall{0};
    std::chrono::microseconds cpu{0}; // user and system, of all threads
    std::int64_t growthKiB = 0;       // by which resident memory rose at its peak
    std::int64_t count = 0;           // files or bytes: whoever does the same work counts the same
};

// The line in which a program tells what its work cost, start-up left out.
void printSample(const Sample& sample);

// The last such line of a program's output; absent where there is none.
[[nodiscard]] std::optional<Sample> findSample(std::string_view output);

} // namespace bench
