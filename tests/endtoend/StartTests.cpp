#include "endtoend/AgentFixture.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <fstream>
#include <functional>

namespace veskline::testing {

namespace {

using nlohmann::json;
using namespace std::chrono_literals;
namespace fs = std::filesystem;

// Starts without a window that come to nothing, or to less than was asked for.
class Start : public AgentFixture {
protected:
    // What the user service does after this exit code: the unit that is installed says so.
    static std::string nextOfTheUnit(int code) {
        std::ifstream unit(VESKLINE_UNIT);
        const std::string text{std::istreambuf_iterator<char>(unit), {}};
        const bool restarts = code != 0 && text.contains("\nRestart=on-failure\n") &&
                              !text.contains(fmt::format("\nRestartPreventExitStatus={}\n", code));
        return restarts && text.contains("\nRestartSec=60\n") ? "starts again after 60 s" : "rests";
    }
    void fail(json fault, int count = 10) {
        fault["count"] = count;
        project.faults().add(fault);
    }
    struct Row {
        const char* name;
        std::function<void()> prepare;
        std::string errors; // a glob
        int code;
    };
    // Each start is made with a session and folders, then spoilt.
    void expectEnds(const std::vector<Row>& rows) {
        write("a.txt", "first");
        const Program::Environment before = environment;
        for (const Row& row : rows) {
            SCOPED_TRACE(row.name);
            fs::remove_all(stand.state);
            setUp();
            row.prepare();
            const std::unique_ptr<Program> agent = start();
            EXPECT_EQ(agent->wait(), row.code);
            EXPECT_TRUE(reads(agent->errors(), row.errors));
            EXPECT_EQ(agent->output(), std::vector<std::string>());
            EXPECT_EQ(nextOfTheUnit(row.code), row.code == 3 ? "rests" : "starts again after 60 s");
            project.faults().clear();
            environment = before;
        }
        EXPECT_TRUE(hosted().empty());
    }
};

} // namespace

TEST_F(Start, EndsWhereNobodyIsSignedInAndSaysWhy) {
    const std::string project = environment.at("SUPABASE_URL");
    const std::string nobody = "Nothing is synced: nobody is signed in, since ";
    const std::string remedy =
        ". Start Veskline on a desktop with the same state folder and sign in; then start this again.\n";
    const std::string none = nobody + "there is no session in " + stand.state + remedy;
    const std::string refused = nobody + project + " no longer accepts the session in " + stand.state + " (*)" + remedy;
    const auto revoke = [this] {
        fail({{"kind", "refused-token"}, {"path", "/auth/v1/user"}});
        fail({{"kind", "revoke-refresh"}, {"path", "/auth/v1/token"}});
    };
    expectEnds({
        {"no session", [this] { fs::remove(stand.state + "/session.json"); }, none, 3},
        {"a session of junk", [this] { folder.write("state/session.json", "junk"); }, none, 3},
        {"a revoked session", revoke, refused, 3},
        {"a service that refuses", [this] { fail({{"kind", "status"}, {"status", 403}, {"path", "/auth/*"}}); },
         refused, 3},
    });
}

TEST_F(Start, EndsWhereTheProjectCannotBeAskedAndSaysWhy) {
    const auto unasked = [](const std::string& project, const std::string& reason) {
        return "Nothing is synced: " + project + " could not be asked who is signed in (" + reason +
               "). Start Veskline again once it can be reached; the user service does so every minute.\n";
    };
    const auto row = [&](const char* name, const json& fault, const std::string& reason) {
        const auto prepare = [this, fault] {
            json everywhere = fault;
            everywhere["path"] = "/auth/*";
            fail(everywhere);
        };
        return Row{name, prepare, unasked(environment.at("SUPABASE_URL"), reason), 4};
    };
    const std::string nobodyThere = "http://127.0.0.1:1";
    expectEnds({
        row("trouble", {{"kind", "status"}, {"status", 503}}, "Supabase request failed with status 503"),
        row("too many questions", {{"kind", "status"}, {"status", 429}}, "Supabase request failed with status 429"),
        row("a captive portal", {{"kind", "html"}}, "The text is not valid JSON: *"),
        row("a cut connection", {{"kind", "cut-before"}}, "The connection to the server was lost: *"),
        {"no network", [&] { environment["SUPABASE_URL"] = nobodyThere; },
         unasked(nobodyThere, "Could not connect to the server: 127.0.0.1 port 1 (Connection refused)"), 4},
    });
}

TEST_F(Start, FailsInWordsThatNameTheFileOrTheVariable) {
    const std::string failed = "Veskline\nNative app initialization failed.\n";
    const std::string database = " (in the file \"" + stand.state + "/state.sqlite3\")\n";
    const auto loseStateFolder = [this] {
        folder.write("file", "no folder");
        environment["VESK_STATE_DIR"] = folder.at("file/state");
        environment.erase("SUPABASE_ANON_KEY");
    };
    expectEnds({
        {"a database of junk", [this] { folder.write("state/state.sqlite3", std::string(5000, 'x')); },
         failed + "file is not a database*" + database, 1},
        {"no project", [this] { environment.erase("SUPABASE_URL"); },
         "The environment names a project in part: SUPABASE_URL is not set. *\n" + failed + "*public-config.json*\n",
         1},
        {"no address", [this] { environment["SUPABASE_URL"] = "project.example"; },
         "SUPABASE_URL is \"project.example\", which is no absolute address. *\n" + failed + "*", 1},
        {"a state folder that can't be made", loseStateFolder,
         "The environment names a project in part: *\nVESK_STATE_DIR can't be used: The file \"" +
             folder.at("file/state") +
             "\" could not be created as a folder: Not a directory. Veskline keeps session, queue and state in /tmp "
             "instead, which the system may empty.\n" +
             failed + "*",
         1},
    });
}

TEST_F(Start, NamesAVariableThatDoesNotCountAndSaysOnceThatTheSessionHasEnded) {
    write("a.txt", "first");
    setUp();
    environment["VESK_MAX_UPLOAD_BYTES"] = "5G";
    environment["DASHBOARD_URL"] = "ftp://dash";
    const std::string variables =
        "DASHBOARD_URL is \"ftp://dash\", which begins with neither http:// nor https://.\nVESK_MAX_UPLOAD_BYTES is "
        "\"5G\", which is no whole number of bytes. The limit is 5368709120.\n";
    Machine machine(folder.path(), {});
    const std::unique_ptr<Program> agent = startOn(machine);
    ASSERT_TRUE(agent->waitForLine("Watching "));
    EXPECT_EQ(agent->errors(), variables);
    fail({{"kind", "status"}, {"status", 401}}, 1000);
    const auto last = std::chrono::steady_clock::now() + Program::patience;
    for (int polls = 0; polls < 40 || agent->errors() == variables; ++polls) {
        machine.advance(20s);
        static_cast<void>(agent->waitForLine("no such line", 1, 5ms));
        ASSERT_LT(std::chrono::steady_clock::now(), last) << "nothing is said";
    }
    EXPECT_EQ(end(*agent), 0);
    const std::string project = environment.at("SUPABASE_URL");
    EXPECT_TRUE(reads(agent->errors(), variables + "Signed out: " + project + " no longer accepts the session in " +
                                           stand.state +
                                           " (Supabase session is unauthorized). Nothing more is "
                                           "uploaded. Start Veskline on a desktop *\n"));
    EXPECT_EQ(std::ranges::count(agent->errors(), '\n'), 3);
}

TEST_F(Start, NamesUnreadableFoldersAtEachScanAndGivesTheJournalAloneAPriority) {
    write("a.txt", "first");
    write("sub/b.txt", "below");
    folder.write("file", "no folder");
    setUp({root, folder.at("file"), folder.at("missing")});
    fail({{"kind", "status"}, {"status", 500}, {"method", "POST"}, {"path", "/storage/*/a-*"}});
    const std::string asService = "exec 3>&1; JOURNAL_STREAM=$(stat -Lc %d:%i /proc/self/fd/3); export JOURNAL_STREAM; "
                                  "exec \"$0\" 3>&-";
    for (const bool isService : {false, true}) {
        const std::unique_ptr<Program> agent = isService ? start("/bin/sh", {"-c", asService, agentPath}) : start();
        EXPECT_TRUE(agent->waitForLine("Initial scan complete"));
        EXPECT_EQ(end(*agent), 0);
        const std::string error = isService ? "<3>" : "";
        const std::string warning = isService ? "<4>" : "";
        EXPECT_NE(agent->lastLine(error + "Upload failed, queued for retry: " + root + "/a.txt"), "");
        const std::string unread = warning + "Folder not available: ";
        EXPECT_NE(agent->lastLine(unread + folder.at("file") + " (Not a directory)"), "");
        EXPECT_NE(agent->lastLine(unread + folder.at("missing") + " (No such file or directory)"), "");
        EXPECT_NE(agent->lastLine("Found 2 files."), "");
        EXPECT_EQ(agent->errors(), "");
    }
}

} // namespace veskline::testing
