#pragma once

#include <chrono>

namespace veskline {

// A point in time, to the precision of the machine's clock.
using Time = std::chrono::system_clock::time_point;

} // namespace veskline
