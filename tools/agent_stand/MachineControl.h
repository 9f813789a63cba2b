#pragma once

#include <atomic>
#include <cstdint>

namespace agent_stand {

// What a program with the machine's faults loaded shares with the one that tries it, in a file that both map: so faults
// begin, clocks move and held calls go on while the program runs. Zeros at first, but for `isOn`.
struct MachineControl {
    std::atomic<std::int64_t> monotonicShift; // nanoseconds ahead of the real clock
    std::atomic<std::int64_t> wallShift;
    std::atomic<std::uint32_t> isOn;
    std::atomic<std::uint32_t> hits;     // calls that met a fault
    std::atomic<std::uint32_t> held;     // calls that are or were held
    std::atomic<std::uint32_t> released; // of these, how many may go on
};
static_assert(std::atomic<std::int64_t>::is_always_lock_free && std::atomic<std::uint32_t>::is_always_lock_free);

} // namespace agent_stand
