#pragma once

#include "simulation/Findings.h"
#include "simulation/Script.h"
#include "simulation/Trace.h"

#include <cstdint>
#include <string>

namespace veskline::simulation {

struct Outcome {
    Findings findings;
    std::uint64_t traceHash = 0;
    std::string trace; // where it was to be kept
};

// One script in a world of its own, from its first line to the judgement. The same script gives the same outcome.
[[nodiscard]] Outcome simulate(const Script& script, Trace::Keeps keeps = Trace::Keeps::hashAlone);

// A script as short as can be that still breaks the promise which `script` breaks first: operations are left out as
// long as it does, then their waits and numbers are made smaller.
[[nodiscard]] Script shrink(Script script);

} // namespace veskline::simulation
