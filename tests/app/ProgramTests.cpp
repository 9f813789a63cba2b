#include "agent_stand/Program.h"
#include "app/AgentPlace.h"
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

TEST(Program, NamesAStateFolderThatItCannotMake) {
    TemporaryFolder folder;
    folder.write("file", "no folder");
    Program::Environment environment = Program::emptyEnvironment();
    environment.insert({{"HOME", folder.string()}, {"VESK_STATE_DIR", folder.at("file/state")}});
    Program program("veskline", {}, environment); // without a configuration, so it keeps nothing in /tmp
    EXPECT_EQ(program.wait(), 1);
    EXPECT_TRUE(program.errors().starts_with("The file \"" + folder.at("file/state") +
                                             "\" could not be created as a folder: Not a directory. Veskline keeps "
                                             "session, queue and state in /tmp instead"))
        << program.errors();
}

TEST(Program, ReportsThatNobodyIsSignedInWithoutAWindow) {
    TemporaryFolder folder;
    folder.makeFolder("state");
    folder.write("state/session.json", "junk");
    Program::Environment environment = Program::emptyEnvironment();
    environment.insert({{"HOME", folder.string()},
                        {"VESK_STATE_DIR", folder.at("state")},
                        {"SUPABASE_URL", "http://127.0.0.1:9"},
                        {"SUPABASE_ANON_KEY", "key"},
                        {"DASHBOARD_URL", "http://127.0.0.1:9"}});
    Program program("veskline", {}, environment);
    for (const auto end = std::chrono::steady_clock::now() + Program::patience;
         !program.errors().ends_with('\n') && std::chrono::steady_clock::now() < end;) {
        std::this_thread::sleep_for(1ms);
    }
    program.signal(SIGTERM);
    EXPECT_EQ(program.wait(), 0);
    EXPECT_TRUE(program.errors().starts_with(
        "Nothing is synced: nobody is signed in, or http://127.0.0.1:9 could not be asked. "))
        << program.errors();
}

TEST(Program, LeavesTheStateFolderToTheAgentThatWorksOnIt) {
    TemporaryFolder folder;
    const std::string state = folder.makeFolder("state");
    Program::Environment environment = Program::emptyEnvironment();
    environment.insert({{"HOME", folder.string()},
                        {"VESK_STATE_DIR", state},
                        {"SUPABASE_URL", "http://127.0.0.1:9"},
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
