#include "endtoend/AgentFixture.h"

#include <algorithm>
#include <cstdlib>
#include <thread>

using namespace veskline;
using veskline::testing::AgentStand;
using veskline::testing::Program;

namespace {

// Something that a user does, as shell commands in a place that holds the case's own root and a folder outside all
// roots: what lies there before, and the deed.
struct Deed {
    const char* name;
    const char* before;
    const char* commands;
};

const Deed deeds[] = {
    {"create", "true", "echo new > root/new.txt"},
    {"change", "echo a > root/a.txt", "echo b > root/a.txt"},
    {"touch", "echo a > root/a.txt", "touch root/a.txt"},
    {"rename", "echo a > root/a.txt", "mv root/a.txt root/b.txt"},
    {"over", "echo a > root/a.txt; echo of another size > root/b.txt", "mv root/a.txt root/b.txt"},
    {"delete", "echo a > root/a.txt; echo b > root/b.txt", "rm root/a.txt"},
    {"move in", "mkdir -p outside/in/x; echo a > outside/in/x/a.txt; echo b > outside/in/b.md", "mv outside/in root"},
    {"move out", "mkdir root/out; echo a > root/out/a.txt; echo b > root/b.txt", "mv root/out outside"},
    {"make and fill a folder", "true", "mkdir -p root/x/y/z; echo a > root/x/y/z/a.txt"},
    {"unpack 5000 files", "true",
     "mkdir $(seq -f root/%g 50); for i in $(seq 5000); do echo $i > root/$((i % 50 + 1))/$i.txt; done"},
    {"an editor's save", "echo a > root/a.txt", "echo edited > root/.a.txt.swp; mv root/.a.txt.swp root/a.txt"},
    {"an unsupported file", "true", "echo p > root/photo.png"},
    {"move to another root", "echo moved > root/moved.txt", "mv root/moved.txt ../receive/root"},
    {"receive", "true", "true"},
};

class Watch : public veskline::testing::AgentFixture {
protected:
    // Patient: the change stream and the debounce take real seconds in the built program.
    void waitUntilHosted(const Documents& documents) {
        const auto end = std::chrono::steady_clock::now() + Program::patience;
        while (hosted() != documents && std::chrono::steady_clock::now() < end) {
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        }
        EXPECT_EQ(hosted(), documents);
    }
};

} // namespace

TEST_F(Watch, BringsEveryDeedOverWithOneRescanOfItsRoot) {
    std::vector<std::string> roots;
    const auto run = [this](const Deed& deed, const char* commands) {
        const std::string place = folder.at("deeds/" + std::string(deed.name));
        ASSERT_EQ(std::system(("cd \"" + place + "\" && { " + commands + "; }").c_str()), 0) << deed.name;
    };
    for (const Deed& deed : deeds) {
        const std::string place = "deeds/" + std::string(deed.name);
        roots.push_back(folder.makeFolder(place + "/root"));
        folder.makeFolder(place + "/outside");
        run(deed, deed.before);
    }
    setUp(roots);
    const std::unique_ptr<Program> agent = start();
    ASSERT_TRUE(agent->waitForLine("Watching "));
    ASSERT_EQ(hosted(), AgentStand::disk(roots));

    std::ranges::for_each(deeds, [&](const Deed& deed) { run(deed, deed.commands); });

    for (const std::string& each : roots) {
        EXPECT_TRUE(agent->waitForLine("Rescan: " + each)) << each;
    }
    waitUntilHosted(AgentStand::disk(roots));
    EXPECT_TRUE(agent->waitForLine("Summary: ", 2 * roots.size())) << "every rescan has ended";
    EXPECT_EQ(end(*agent), 0);
    for (const std::string& each : roots) {
        EXPECT_EQ(std::ranges::count(agent->output(), "Rescan: " + each), 1) << each;
    }
}
