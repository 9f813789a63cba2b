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

// The line in which a program tells what its work cost, and the one that a program's output ends with; absent where it
// ends otherwise.
void printSample(const Sample& sample);
[[nodiscard]] std::optional<Sample> readSample(std::string_view output);

// Measures a piece of work within its own process, from construction to stop(). The agent's work and the floors use the
// same one, so that start-up, linking and set-up count for neither.
class Stopwatch {
public:
    Stopwatch();
    [[nodiscard]] Sample stop(std::int64_t count) const;

private:
    std::int64_t residentKiB_;
    std::chrono::microseconds cpu_;
    std::chrono::steady_clock::time_point start_;
};

} // namespace bench
