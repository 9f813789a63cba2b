#pragma once

#include "simulation/Operation.h"

#include <cstdint>
#include <string>
#include <vector>

namespace veskline::simulation {

// How the synced folders lie to each other.
enum class Layout : std::uint8_t { one, two, namePrefix, nested };

// All that one run is made of. The seed also orders the jobs of the one thread.
struct Script {
    std::uint64_t seed = 0;
    Layout layout = Layout::one;
    std::uint32_t lastUser = 0; // who is signed in at the end
    std::vector<Operation> operations;
    bool operator==(const Script&) const = default;

    // A plausible life of the agent, the same for the same seed.
    [[nodiscard]] static Script ofSeed(std::uint64_t seed);

    // As text: a head, then one operation a line. Throws std::runtime_error for a line that makes no sense.
    [[nodiscard]] std::string text() const;
    [[nodiscard]] static Script ofText(const std::string& text);
};

} // namespace veskline::simulation
