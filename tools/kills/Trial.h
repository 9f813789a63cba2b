#pragma once

#include "agent_stand/AgentStand.h"
#include "kills/Documents.h"
#include "kills/Moment.h"

#include <cstddef>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace kills {

// What a number of rounds showed.
struct Findings {
    std::size_t kills = 0;
    std::size_t signedInAnew = 0; // killed between the service's renewal of the session and its arrival on the disk
    std::map<std::string, std::size_t> perMoment;
    std::size_t leftovers = 0; // kills that left a temporary file or a journal, all of them gone after the start
    std::vector<std::string> broken;
};

// The built agent, killed again and again on one state, beside one hosted project. A round changes the documents, kills
// the agent at one moment, starts it again, and then looks whether everything is where it should be.
class Trial {
public:
    Trial(const std::filesystem::path& folder, std::uint64_t seed);

    // The kinds of moment in their order, then drawn ones. Ends early where a promise is broken.
    const Findings& run(std::size_t rounds);

private:
    void runRound(std::size_t round);
    void prepare(const Moment& moment);
    void kill(const Moment& moment);
    void waitFor(const Moment& moment, agent_stand::Program& agent);
    [[nodiscard]] bool hasLostItsSession(const std::string& before);
    void startAgain();
    void compare();
    void expect(bool isKept, const std::string& promise);
    [[nodiscard]] std::string sessionText() const;

    agent_stand::AgentStand stand_;
    Random random_;
    Documents documents_;
    std::string place_; // round and moment, for what is broken
    Findings findings_;
};

} // namespace kills
