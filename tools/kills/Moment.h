#pragma once

#include "agent_stand/Machine.h"
#include "kills/Documents.h"

#include <nlohmann/json.hpp>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace kills {

// A moment of the agent's life at which it is killed.
struct Moment {
    // What lies before it.
    enum class Before {
        nothing,
        expiredTokens, // the start has to renew the session
        queuedUploads, // a run in which every upload failed
        failingJobs,   // uploads fail in this run, so that the queue grows
    };
    std::string name;
    Before before = Before::nothing;
    // The faults of the hosted side; the agent is killed as soon as a request is stalled by one of them.
    nlohmann::json faults = nlohmann::json::array();
    // A call in which the agent kills itself.
    std::optional<agent_stand::Machine::Fault> call;
    // Neither of these: some time after this line, or after the start.
    std::string line;
    std::chrono::microseconds delay{0};
};

// One of each kind. The numbers in them are drawn: which file, which commit, before or after a call.
[[nodiscard]] std::vector<Moment> moments(const Documents::Change& change, Random& random);

} // namespace kills
