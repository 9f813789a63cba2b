#include "endtoend/AgentFixture.h"
#include "endtoend/WireFaults.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <map>
#include <string>
#include <vector>

namespace veskline::testing {

namespace {

using local_project::JournalEntry;
using nlohmann::json;
using namespace std::chrono_literals;

class WireFaults : public AgentFixture, public ::testing::WithParamInterface<Step> {
protected:
    WireFaults() : machine(folder.path(), {}) {}

    // What a cell begins with; the path that will be told of.
    std::string prepare(const std::string& cell) {
        if (GetParam().scene == Scene::deletion) {
            std::filesystem::remove(root + "/" + cell + ".txt");
            return root + "/" + cell + ".txt";
        }
        if (GetParam().scene == Scene::drain) {
            folder.write("state/retry-queue.json", queue);
        }
        return write("a.txt", GetParam().name + cell);
    }
    // Once before all cells: files to delete, or a queued upload.
    void prepareAll(std::size_t cells) {
        setUp();
        write("kept.txt", "kept");
        if (GetParam().scene == Scene::deletion) {
            for (std::size_t cell = 0; cell < cells; ++cell) {
                write(std::to_string(cell) + ".txt", std::to_string(cell));
            }
        }
        if (GetParam().scene == Scene::drain) {
            write("a.txt", "first");
            project.faults().add(json{{"kind", "status"}, {"method", "POST"}, {"path", "/rest/v1/files"}});
        }
        syncOnce();
        project.faults().clear();
        queue = folder.read("state/retry-queue.json");
    }

    // Enough of them also where the client tries again, and where the same request comes from elsewhere.
    void addFault(const json& description) {
        if (GetParam().scene == Scene::refresh) {
            project.faults().add(json{{"kind", "expire-tokens"}, {"method", "POST"}, {"path", "/storage/*"}});
        }
        json fault = description;
        fault.update(GetParam().request);
        fault["count"] = GetParam().scene == Scene::refresh ? 1000 : 5;
        project.faults().add(fault);
    }

    // Moves the clock by hand as long as a request stands still, until the line is logged or the output ends.
    void passStall(const json& description, Program& program, const char* line) {
        if (description.at("kind") != "stall" || description.contains("ms")) {
            return;
        }
        ASSERT_TRUE(project.faults().waitForStalled(1, Program::patience));
        while (!program.waitForLine(line, 1, 5ms) && !program.isOutputOver()) {
            machine.advance(2s);
        }
    }

    [[nodiscard]] std::string told(const Program& agent, const std::string& path) const {
        const std::map<Scene, std::string> beginnings{
            {Scene::upload, "Upload failed, queued for retry: " + path + " ("},
            {Scene::refresh, "Upload failed, queued for retry: " + path + " ("},
            {Scene::drain, "Retry failed for "},
            {Scene::deletion, "Delete sync warning for " + path + ": "},
        };
        const std::string& beginning = beginnings.at(GetParam().scene);
        std::string line = agent.lastLine(beginning);
        if (line.empty()) {
            return "";
        }
        if (GetParam().scene == Scene::drain) {
            return line.substr(line.find(": ") + 2);
        }
        line.erase(0, beginning.size());
        if (beginning.ends_with('(')) {
            line.pop_back();
        }
        return line;
    }

    void runAtAScan(const WireFault& fault, const std::string& cell) {
        const std::string path = prepare(cell);
        addFault(fault.description);
        const std::unique_ptr<Program> agent = startOn(machine);
        passStall(fault.description, *agent, "Initial scan complete");
        const std::string summaryLine = finish(*agent);
        ASSERT_TRUE(stand.finishRequests());
        project.faults().clear();

        const std::size_t failed = fault.words.empty() ? 0 : 1;
        const bool isDeletion = GetParam().scene == Scene::deletion;
        const std::size_t others = disk().size() - (isDeletion ? 0 : 1);
        EXPECT_TRUE(reads(told(*agent, path), fault.words));
        EXPECT_EQ(summaryLine,
                  isDeletion ? summaryOf(0, others, 1 - failed, failed) : summaryOf(1 - failed, others, 0, failed));
        if (GetParam().scene == Scene::drain && failed == 1) {
            const json item = json::parse(folder.read("state/retry-queue.json")).at(0);
            EXPECT_EQ(item.at("attempts"), 1);
            EXPECT_TRUE(reads(item.at("lastError"), fault.words));
        }
        if (GetParam().scene == Scene::refresh && isCarriedOut(fault.description)) {
            setUp(); // a refresh token is good once, and the answer with the next one was lost
        }
        EXPECT_EQ(syncOnce(),
                  isDeletion ? summaryOf(0, others, failed, 0) : summaryOf(failed, others + 1 - failed, 0, 0));
        EXPECT_EQ(hosted(), disk());
        EXPECT_EQ(stand.remembered(), disk());
        const std::string left = folder.read("state/retry-queue.json");
        EXPECT_TRUE(left.empty() || json::parse(left).empty()) << left;
    }

    // Lets the clock run until the next reading of the status is over, and was well; the agent stays what it was.
    void runAtAPoll(const WireFault& fault, Program& agent) {
        addFault(fault.description);
        const std::size_t lines = agent.output().size();
        const auto passUntil = [&](const std::function<bool()>& isReached) {
            const auto last = std::chrono::steady_clock::now() + Program::patience;
            while (!isReached() && !agent.isOutputOver() && std::chrono::steady_clock::now() < last) {
                machine.advance(isPollOver() ? 20s : 2s); // less than a stall's 60 s while a request is on its way
                static_cast<void>(agent.waitForLine("no such line", 1, 5ms));
            }
        };
        passUntil([&] { return project.faults().list().at("faults").at(0).at("applied") > 0; });
        passUntil([&] { return fault.description.contains("ms") || isPollOver(); });
        project.faults().clear();
        project.journal().clear();
        passUntil([&] { return questionsAnswered() >= 6; });
        EXPECT_GE(questionsAnswered(), 6U) << "the agent has ended";
        EXPECT_EQ(agent.output().size(), lines) << agent.output().back();
        project.journal().clear();
    }
    // Nothing is under way.
    bool isPollOver() {
        const std::vector<JournalEntry> entries = project.journal().entries();
        return std::ranges::all_of(entries, [](const JournalEntry& entry) { return entry.status.has_value(); });
    }
    std::size_t questionsAnswered() {
        const std::vector<JournalEntry> entries = project.journal().entries();
        return static_cast<std::size_t>(std::ranges::count_if(entries, [](const JournalEntry& entry) {
            return entry.method == "GET" && entry.path.starts_with("/rest/v1/") && entry.status.value_or(0) / 100 == 2;
        }));
    }

    void runAtASignIn(const WireFault& fault) {
        std::filesystem::remove(folder.path() / "state/session.json");
        addFault(fault.description);
        Program tool("veskline-demo-setup", {"ultra", root}, machine.added(environment));
        passStall(fault.description, tool, "no such line");
        EXPECT_EQ(tool.wait(), fault.words.empty() ? 0 : 1);
        EXPECT_TRUE(reads(tool.errors(), fault.words.empty() ? "" : "veskline-demo-setup: " + fault.words + "\n"));
        EXPECT_EQ(folder.has("state/session.json"), fault.words.empty());
        project.faults().clear();
        setUp();
        EXPECT_EQ(syncOnce(), summaryOf(0, 1, 0, 0));
    }

    Machine machine;
    std::string queue;
};

} // namespace

TEST_P(WireFaults, AreToldInTheirWordsAndAllArrivesOnceTheServiceIsWell) {
    const std::vector<WireFault> cells = wireFaults(GetParam());
    prepareAll(cells.size());
    const std::unique_ptr<Program> agent = GetParam().scene == Scene::status ? startOn(machine) : nullptr;
    ASSERT_TRUE(!agent || agent->waitForLine("Watching "));
    for (std::size_t cell = 0; cell < cells.size(); ++cell) {
        SCOPED_TRACE(cells[cell].description.dump());
        if (agent) {
            runAtAPoll(cells[cell], *agent);
        } else if (GetParam().scene == Scene::signIn) {
            runAtASignIn(cells[cell]);
        } else {
            runAtAScan(cells[cell], std::to_string(cell));
        }
    }
    EXPECT_TRUE(!agent || end(*agent) == 0);
    EXPECT_EQ(hosted(), disk());
}

INSTANTIATE_TEST_SUITE_P(Requests, WireFaults, ::testing::ValuesIn(wireSteps()),
                         [](const auto& step) { return step.param.name; });

} // namespace veskline::testing
