#pragma once

#include <nlohmann/json.hpp>

#include <ostream>
#include <string>
#include <vector>

namespace veskline::testing {

// What the agent is about when its request fails.
enum class Scene {
    upload,   // a file has changed
    drain,    // a queued upload is tried again, and its file has changed since
    deletion, // a file has gone
    refresh,  // the session expires at a file
    status,   // the hosted status is read, every 60 s
    signIn,
};

// One of the requests that the agent makes.
struct Step {
    Scene scene;
    const char* name;
    nlohmann::json request; // what a fault picks it by; `skip` passes over the same request of earlier steps
    const char* form;       // what its answer is to be; none where its status alone counts
    bool isAnsweredByABody = true;

    friend void PrintTo(const Step& step, std::ostream* out) { *out << step.name; }
};

const std::vector<Step>& wireSteps();

struct WireFault {
    nlohmann::json description;
    std::string words;        // a glob over what is told of the failure; none where nothing fails
    bool isInTheBody = false; // of an answer whose status is well, given after the request was carried out
};

// Each of the faults as it shows at this step.
std::vector<WireFault> wireFaults(const Step& step);

// Whether the service did what it was asked for, although the answer was lost.
bool isCarriedOut(const nlohmann::json& fault);

} // namespace veskline::testing
