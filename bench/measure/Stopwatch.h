#pragma once

#include "measure/Sample.h"

#include <chrono>
#include <cstdint>

namespace bench {

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
