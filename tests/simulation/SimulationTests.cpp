#include "simulation/Simulation.h"
#include "support/Failure.h"

#include <gtest/gtest.h>

#include <string>

using namespace veskline::simulation;

namespace {

std::string failureOf(const std::string& text) {
    return veskline::testing::failureOf([&] { return Script::ofText(text); });
}

} // namespace

TEST(Simulation, KeepsEveryPromiseOnTwoThousandSeeds) {
    for (std::uint64_t seed = 1; seed <= 2000; ++seed) {
        const Outcome outcome = simulate(Script::ofSeed(seed));
        for (const std::string& violation : outcome.findings.violations) {
            ADD_FAILURE() << "seed " << seed << " breaks: " << violation << "\nveskline-simulation --seed " << seed
                          << " prints the shortest script that does";
        }
    }
}

TEST(Simulation, RunsTheSameLifeFromTheSameSeed) {
    const Outcome first = simulate(Script::ofSeed(7), Trace::Keeps::everyLine);
    const Outcome second = simulate(Script::ofText(Script::ofSeed(7).text()), Trace::Keeps::everyLine);
    EXPECT_EQ(first.trace, second.trace);
    EXPECT_EQ(first.traceHash, second.traceHash);
    EXPECT_NE(first.traceHash, simulate(Script::ofSeed(8)).traceHash);
    EXPECT_EQ(simulate(Script::ofSeed(7)).traceHash, first.traceHash) << "whether its lines are kept or not";
}

TEST(Simulation, RefusesAScriptThatMakesNoSense) {
    EXPECT_EQ(failureOf("seed one"), "A script begins with: seed NUMBER layout NUMBER user NUMBER");
    EXPECT_EQ(failureOf("seed 1 layout 9 user 0\n"), "A script begins with: seed NUMBER layout NUMBER user NUMBER");
    EXPECT_EQ(failureOf("seed 1 layout 0 user 0\n0 dance 0 0 0\n"), "This is no line of a script: \"0 dance 0 0 0\"");
}

// Without a promise that is broken there is nothing to make shorter.
TEST(Simulation, LeavesAScriptThatBreaksNothingAsItIs) {
    const Script script = Script::ofSeed(3);
    EXPECT_EQ(shrink(script), script);
}
