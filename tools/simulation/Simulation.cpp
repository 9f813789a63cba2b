#include "simulation/Simulation.h"

#include "simulation/Judgement.h"
#include "simulation/World.h"

#include <algorithm>

namespace veskline::simulation {

Outcome simulate(const Script& script, Trace::Keeps keeps) {
    Outcome outcome;
    Trace trace(keeps);
    World world(script, trace, outcome.findings);
    world.run();
    Judgement(world, script.layout, userOfNumber(script.lastUser), outcome.findings).pass();
    for (const std::string& violation : outcome.findings.violations) {
        trace.add("violation " + violation);
    }
    outcome.traceHash = trace.hash();
    outcome.trace = trace.text();
    return outcome;
}

namespace {

class Shrinker {
public:
    explicit Shrinker(Script script) : script_(std::move(script)) {
        const std::vector<std::string> violations = simulate(script_).findings.violations;
        promise_ = violations.empty() ? "" : violations.front().substr(0, violations.front().find(':'));
    }

    Script shortest() {
        if (!promise_.empty()) {
            for (Script before; before != script_;) {
                before = script_;
                leaveOut();
                makeSmaller();
            }
        }
        return script_;
    }

private:
    bool take(Script shorter) {
        if (!simulate(shorter).findings.breaks(promise_)) {
            return false;
        }
        script_ = std::move(shorter);
        return true;
    }

    // Longer and longer pieces first, then single lines.
    void leaveOut() {
        for (std::size_t length = script_.operations.size(); length > 0; length /= 2) {
            for (std::size_t at = 0; at < script_.operations.size();) {
                Script shorter = script_;
                const auto first = shorter.operations.begin() + static_cast<std::ptrdiff_t>(at);
                const std::size_t end = std::min(length, script_.operations.size() - at);
                shorter.operations.erase(first, first + static_cast<std::ptrdiff_t>(end));
                at += take(std::move(shorter)) ? 0 : length;
            }
        }
    }

    void makeSmaller() {
        for (std::size_t at = 0; at < script_.operations.size(); ++at) {
            for (const std::uint32_t wait : {0U, script_.operations[at].jobsBefore / 2}) {
                Script shorter = script_;
                shorter.operations[at].jobsBefore = wait;
                if (shorter != script_ && take(std::move(shorter))) {
                    break;
                }
            }
            for (std::size_t number = 0; number < 3; ++number) {
                Script shorter = script_;
                shorter.operations[at].numbers.at(number) = 0;
                if (shorter != script_) {
                    take(std::move(shorter));
                }
            }
        }
    }

    Script script_;
    std::string promise_;
};

} // namespace

Script shrink(Script script) {
    return Shrinker(std::move(script)).shortest();
}

} // namespace veskline::simulation
