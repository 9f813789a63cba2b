#include "agent_stand/Program.h"
#include "app/AgentPlace.h"
#include "support/ScriptedServer.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <csignal>

using namespace std::chrono_literals;

namespace veskline::testing {

using agent_stand::Program;

TEST(Program, RejectsUnknownOptions) {
    struct Row {
        std::vector<std::string> words;
        int code;
        std::string output; // how it begins
        std::string errors;
    };
    const Row rows[] = {
        {{"--help"}, 0, "Veskline keeps your documents uploaded", ""},
        {{"--version"}, 0, "veskline " VESKLINE_VERSION, ""},
        {{"-h"}, 0, "Veskline keeps your documents uploaded", ""},
        {{"-v"}, 0, "veskline " VESKLINE_VERSION, ""},
        {{"--platform"}, 2, "", "veskline: \"--platform\" is not understood. There are --help and --version alone.\n"},
        {{"--help", "me"}, 2, "", "veskline: \"me\" is not understood. There are --help and --version alone.\n"},
        {{""}, 2, "", "veskline: \"\" is not understood. There are --help and --version alone.\n"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.words.back());
        Program program("veskline", row.words, Program::emptyEnvironment());
        EXPECT_EQ(program.wait(), row.code);
        EXPECT_TRUE(program.output().empty() ? row.output.empty() : program.output().front().starts_with(row.output));
        EXPECT_EQ(program.errors(), row.errors);
    }
}

TEST(Program, LeavesTheStateFolderToTheAgentThatWorksOnIt) {
    TemporaryFolder folder;
    const std::string state = folder.makeFolder("state");
    folder.write("state/session.json", R"({"access_token":"a","refresh_token":"b"})");
    ScriptedServer server; // whose answer the agents wait for
    server.replies({{.isHeld = true}, {.isHeld = true}});
    Program::Environment environment = Program::emptyEnvironment();
    environment.insert({{"HOME", folder.string()},
                        {"VESK_STATE_DIR", state},
                        {"SUPABASE_URL", server.url()},
                        {"SUPABASE_ANON_KEY", "key"},
                        {"DASHBOARD_URL", "http://127.0.0.1:9"}});
    const auto holder = [&] {
        AgentPlace::Holder found{};
        do {
            found = AgentPlace(state).settle(100s);
        } while (found == AgentPlace::Holder::thisProcess); // the agent was not there yet, and waits for us
        return found;
    };
    for (const int number : {SIGKILL, SIGTERM}) {
        Program first("veskline", {}, environment);
        EXPECT_EQ(holder(), AgentPlace::Holder::anotherWithoutWindow);
        Program second("veskline", {}, environment);
        EXPECT_EQ(second.wait(), 0);
        EXPECT_EQ(second.errors(), "Veskline already runs on " + state + ", without a window.\n");
        first.signal(number);
        EXPECT_EQ(first.wait(), number == SIGTERM ? 0 : -SIGKILL);
    }
}

} // namespace veskline::testing
