#include "kills/Trial.h"

#include <fmt/format.h>

#include <algorithm>
#include <csignal>
#include <fstream>
#include <iterator>
#include <memory>
#include <thread>

namespace kills {

using agent_stand::AgentStand;
using agent_stand::Machine;
using agent_stand::Program;
using local_project::JournalEntry;
using nlohmann::json;

namespace {

constexpr const char* scanEnd = "Initial scan complete";

json failingJobs() {
    constexpr int everyOne = 1'000'000;
    return {{"kind", "status"}, {"method", "POST"}, {"path", "/rest/v1/jobs"}, {"count", everyOne}};
}

bool isRefresh(const JournalEntry& entry) {
    return entry.method == "POST" && entry.path == "/auth/v1/token";
}

} // namespace

Trial::Trial(const std::filesystem::path& folder, std::uint64_t seed)
    : stand_(folder), random_(seed), documents_(stand_.root, random_) {
    stand_.setUp();
    startAgain();
}

const Findings& Trial::run(std::size_t rounds) {
    for (std::size_t round = 1; round <= rounds && findings_.broken.empty(); ++round) {
        runRound(round);
    }
    return findings_;
}

void Trial::runRound(std::size_t round) {
    const std::vector<Moment> all = moments(documents_.change(), random_);
    const Moment& moment = all[round <= all.size() ? round - 1 : below(all.size(), random_)];
    place_ = fmt::format("round {}, {}", round, moment.name);
    ++findings_.perMoment[moment.name];
    prepare(moment);
    const std::string session = sessionText();
    kill(moment);
    expect(stand_.unreadableStores().empty(), "the stores can be read after the kill");
    findings_.leftovers += stand_.temporaryFilesLeft().empty() ? 0 : 1;
    if (hasLostItsSession(session)) {
        stand_.setUp();
        ++findings_.signedInAnew;
    }
    startAgain();
    compare();
}

void Trial::prepare(const Moment& moment) {
    if (moment.before == Moment::Before::queuedUploads) {
        stand_.project.faults().add(failingJobs());
        const std::unique_ptr<Program> agent = stand_.start();
        expect(agent->waitForLine(scanEnd), "the agent comes to the end of a scan of failures");
        AgentStand::end(*agent);
        stand_.project.faults().clear();
    }
    if (moment.before == Moment::Before::failingJobs) {
        stand_.project.faults().add(failingJobs());
    }
    if (moment.before == Moment::Before::expiredTokens) {
        stand_.project.accounts().expireAccessTokens();
    }
    stand_.project.journal().clear();
    stand_.project.faults().add(moment.faults);
}

void Trial::kill(const Moment& moment) {
    std::vector<Machine::Fault> calls;
    if (moment.call) {
        calls.push_back(*moment.call);
    }
    const Machine machine(stand_.folder, calls);
    Program agent("veskline", {}, moment.call ? machine.added(stand_.environment) : stand_.environment);
    waitFor(moment, agent);
    agent.signal(SIGKILL);
    expect(agent.wait() == -SIGKILL, "the agent is killed");
    ++findings_.kills;
    expect(stand_.finishRequests(), "the service comes to rest");
    stand_.project.faults().clear();
}

void Trial::waitFor(const Moment& moment, Program& agent) {
    if (!moment.faults.empty()) {
        expect(stand_.project.faults().waitForStalled(1, Program::patience), "the request is made");
    } else if (moment.call) {
        expect(!agent.waitForLine(scanEnd), "the call is made");
    } else {
        expect(moment.line.empty() || agent.waitForLine(moment.line), "the line is logged");
        std::this_thread::sleep_for(moment.delay);
    }
}

// The service has renewed the session, and the new one died with the agent: a refresh token is good once.
bool Trial::hasLostItsSession(const std::string& before) {
    const std::vector<JournalEntry> requests = stand_.project.journal().entries();
    const bool isRenewed = std::ranges::any_of(requests, [this](const JournalEntry& entry) {
        return isRefresh(entry) && (entry.status == 200 || (entry.fault == "stall" && place_.ends_with("answered")));
    });
    return isRenewed && sessionText() == before;
}

void Trial::startAgain() {
    const std::unique_ptr<Program> agent = stand_.start();
    expect(agent->waitForLine(scanEnd), "the agent starts again and ends its scan");
    expect(AgentStand::end(*agent) == 0 && agent->errors().empty(), "the agent ends well");
    const std::string summary = agent->lastLine("Summary: ");
    expect(summary.ends_with(" failed 0."), "no file fails: " + summary);
}

void Trial::compare() {
    const AgentStand::Documents disk = AgentStand::disk({stand_.root});
    expect(stand_.hosted() == disk, "every file is hosted, and none that has gone");
    expect(stand_.ingested() == disk, "every file is made searchable");
    expect(stand_.remembered() == disk, "the state database remembers every file");
    expect(stand_.integrity() == "ok", "integrity_check: " + stand_.integrity());
    expect(stand_.unreadableStores().empty(), "the stores can be read");
    expect(stand_.temporaryFilesLeft().empty(), "no temporary file is left");
}

void Trial::expect(bool isKept, const std::string& promise) {
    if (!isKept) {
        findings_.broken.push_back(fmt::format("{}: {}", place_, promise));
    }
}

std::string Trial::sessionText() const {
    std::ifstream file(stand_.state + "/session.json");
    return std::string(std::istreambuf_iterator<char>(file), {});
}

} // namespace kills
