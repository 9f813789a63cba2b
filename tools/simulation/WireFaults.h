#pragma once

#include "simulation/Findings.h"
#include "simulation/InProcessProject.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace veskline::simulation {

// What the hosted side does wrong for a while: each fault is of a kind, strikes at one step of the wire, and is over
// after so many requests.
class WireFaults {
public:
    static constexpr std::uint32_t stepCount = 8;
    static constexpr std::array<std::uint32_t, 3> uploadSteps{2, 3, 6};
    static constexpr std::uint32_t kindCount = 20;

    explicit WireFaults(Findings& findings) : findings_(findings) {}

    void add(std::uint32_t step, std::uint32_t kind, std::uint32_t times);
    void heal() { faults_.clear(); }

    // What this request meets; counts it.
    [[nodiscard]] std::optional<testing::InProcessProject::Fault> strike(std::string_view request);

private:
    struct Pending {
        std::string_view step; // what the request begins with
        std::uint32_t kind;
        std::uint32_t times;
    };
    Findings& findings_;
    std::vector<Pending> faults_;
};

} // namespace veskline::simulation
