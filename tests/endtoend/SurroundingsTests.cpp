#include "endtoend/AgentFixture.h"
#include "support/OtherConnection.h"

#include <nlohmann/json.hpp>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <functional>
#include <optional>

namespace veskline::testing {

namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using Action = Machine::Action;

const json drainsUser{{"method", "GET"}, {"path", "/auth/v1/user"}, {"skip", 1}};
const json rowOfAFile{{"method", "POST"}, {"path", "/rest/v1/files"}};

dev_t deviceOf(const fs::path& path) {
    struct stat found{};
    EXPECT_EQ(::stat(path.c_str(), &found), 0) << path;
    return found.st_dev;
}

// What changes below a running agent.
class Surroundings : public SettledAgent {
protected:
    // Runs the agent, and does this while the request waits.
    std::unique_ptr<Program> startAndDoAt(const json& request, const std::function<void()>& deed) {
        json held = request;
        held["kind"] = "stall";
        project.faults().add(held);
        std::unique_ptr<Program> agent = start();
        EXPECT_TRUE(project.faults().waitForStalled(1, Program::patience));
        deed();
        project.faults().release();
        return agent;
    }

    // The folder of documents is away, and an empty one of another file system stands in its place.
    std::string elsewhere() {
        for (const char* place : {"/tmp", "/var/tmp", "/dev/shm", "/run"}) {
            std::string name = std::string(place) + "/veskline-test-XXXXXX";
            if (deviceOf(place) != deviceOf(root) && ::mkdtemp(name.data()) != nullptr) {
                return name;
            }
        }
        ADD_FAILURE() << "this machine has one file system alone";
        return "/";
    }
    [[nodiscard]] std::string failureToStart(const std::string& words) const {
        return "Veskline\nNative app initialization failed.\n" + words + " (in the file \"" + database + "\")\n";
    }
    void moveRootAway() { fs::rename(root, away); }
    void moveRootBack() {
        fs::remove(root);
        fs::rename(away, root);
    }

    const std::string database = stand.state + "/state.sqlite3";
    const std::string away = folder.at("away");
};

} // namespace

TEST_F(Surroundings, MayHoldTheDatabaseLocked) {
    std::optional<OtherConnection> other;
    const auto lock = [&](const char* how) { other.emplace(database).run(how); };
    const auto expectRecovery = [&] {
        other.reset();
        project.faults().clear();
        EXPECT_TRUE(syncOnce().ends_with(" failed 0."));
        expectAllWell();
    };

    lock("begin exclusive");
    const std::unique_ptr<Program> agent = start();
    EXPECT_EQ(agent->wait(), 1);
    EXPECT_EQ(agent->errors(), failureToStart("database is locked"));
    expectRecovery();

    changeThePreferences();
    lock("begin immediate");
    const std::unique_ptr<Program> writes = start();
    endAfterTheStart(*writes);
    expectTold(*writes, "Auto-start failed: " + stateFile("written") + "database is locked");
    expectRecovery();

    write("a.txt", "rows");
    const std::unique_ptr<Program> reads = startAndDoAt(drainsUser, [&] { lock("begin exclusive"); });
    endAfterTheStart(*reads);
    expectTold(*reads, "Auto-start failed: " + stateFile("read") + "database is locked");
    expectRecovery();

    write("a.txt", "row");
    const std::unique_ptr<Program> files = startAndDoAt(rowOfAFile, [&] { lock("begin exclusive"); });
    endAfterTheStart(*files);
    expectTold(*files, "Upload failed, queued for retry: ROOT/a.txt (The document is uploaded but not recorded. " +
                           stateFile("written") + "database is locked)");
    EXPECT_EQ(files->lastLine("Summary: "), summaryOf(0, 2, 0, 1));
    expectRecovery();
}

TEST_F(Surroundings, MayRefuseTheDatabase) {
    const struct {
        const char* call;
        int error;
        const char* words;
    } rows[] = {
        {"open", EACCES, "unable to open database file"},
        {"open", EMFILE, "unable to open database file"},
        {"open", EIO, "unable to open database file"},
        {"open", ENOENT, "unable to open database file"},
        {"read", EIO, "disk I/O error"},
    };
    for (const auto& [call, error, words] : rows) {
        const Machine machine(folder.path(), {{.call = call, .path = "*/state.sqlite3", .error = error}});
        const std::unique_ptr<Program> agent = startOn(machine);
        EXPECT_EQ(agent->wait(), 1);
        EXPECT_EQ(agent->errors(), failureToStart(words));
    }
    syncOnce();
    expectAllWell();
}

TEST_F(Surroundings, MayBreakTheRowsOfTheDatabase) {
    stand.breakTable("files");
    write("a.txt", "second");
    const std::unique_ptr<Program> agent = start();
    endAfterTheStart(*agent);
    expectTold(*agent, "Upload failed, queued for retry: ROOT/a.txt (The document is uploaded but not recorded. " +
                           stateFile("written") + "database disk image is malformed)");
    EXPECT_EQ(agent->lastLine("Summary: "), summaryOf(0, 0, 0, 3));
    EXPECT_EQ(hosted(), disk()) << "all but the state row is done";
    fs::remove(database);
    setUp();
    EXPECT_EQ(syncOnce(), summaryOf(3, 0, 0, 0));
    expectAllWell();
}

TEST_F(Surroundings, MayBreakThePreferencesWhileAVolumeIsAway) {
    const std::string other = elsewhere();
    const Documents before = hosted();
    const std::unique_ptr<Program> agent = startAndDoAt(drainsUser, [&] {
        stand.breakTable("preferences");
        moveRootAway();
        fs::create_directory_symlink(other, root);
    });
    endAfterTheStart(*agent);
    expectTold(*agent, "Auto-start failed: " + stateFile("read") + "database disk image is malformed");
    EXPECT_EQ(hosted(), before) << "nobody knows that these files have gone";
    fs::remove(other);
    moveRootBack();
    fs::remove(database);
    setUp();
    EXPECT_EQ(syncOnce(), summaryOf(3, 0, 0, 0));
    expectAllWell();
}

TEST_F(Surroundings, MayTakeTheStateFolderAway) {
    const std::string notQueued = "Upload failed, queued for retry: ROOT/a.txt (The file \"STATE/retry-queue.json\" "
                                  "could not be written: No such "
                                  "file or directory)";
    write("a.txt", "second");
    const std::unique_ptr<Program> moved = startAndDoAt(rowOfAFile, [&] { fs::rename(stand.state, away); });
    endAfterTheStart(*moved);
    expectTold(*moved, notQueued);
    EXPECT_EQ(moved->lastLine("Summary: "), summaryOf(0, 2, 0, 1));
    EXPECT_FALSE(fs::exists(stand.state));
    fs::rename(away, stand.state);
    EXPECT_EQ(syncOnce(), summaryOf(1, 2, 0, 0));
    expectAllWell();

    write("a.txt", "third");
    const std::string queue = folder.read("state/retry-queue.json");
    const std::unique_ptr<Program> removed = startAndDoAt(rowOfAFile, [&] { fs::remove_all(stand.state); });
    endAfterTheStart(*removed);
    expectTold(*removed, notQueued);
    setUp();
    folder.write("state/retry-queue.json", queue);
    EXPECT_EQ(syncOnce(), summaryOf(3, 0, 0, 0)) << "nothing is known, so all goes up again";
    expectAllWell();
}

TEST_F(Surroundings, MaySetTheClockBack) {
    constexpr std::chrono::hours decade{24 * 3652};
    const std::string path = write("a.txt", "2nd");
    Machine machine(folder.path(), {});
    json held = rowOfAFile;
    held["kind"] = "stall";
    project.faults().add(held);
    const std::unique_ptr<Program> running = startOn(machine);
    ASSERT_TRUE(project.faults().waitForStalled(1, Program::patience));
    machine.moveWallClock(-decade);
    project.faults().release();
    EXPECT_EQ(finish(*running), summaryOf(1, 2, 0, 0));
    expectAllWell();

    // As large as before, and older than what was uploaded.
    write("a.txt", "3rd");
    fs::last_write_time(path, fs::last_write_time(path) - decade);
    project.faults().clear();
    EXPECT_EQ(finish(*startOn(machine)), summaryOf(1, 2, 0, 0));
    EXPECT_EQ(syncOnce(), summaryOf(0, 3, 0, 0));
    expectAllWell();
}

TEST_F(Surroundings, MayChangeAFileWhileItIsWorkedOn) {
    const std::string path = root + "/a.txt";
    const auto remove = [&] { fs::remove(path); };
    const std::string fails = "Upload failed, queued for retry: ROOT/a.txt (The file \"ROOT/a.txt\" could not be ";
    const Machine::Fault beforeItIsOpened{
        .call = "open", .path = "*/a.txt", .action = Action::hold, .skip = 1, .count = 1};
    const Machine::Fault whileItIsSent{
        .call = "read", .path = "*/a.txt", .action = Action::hold, .skip = 2, .count = 1};
    const struct {
        const char* name;
        const Machine::Fault& moment;
        std::function<void()> deed;
        std::string told;
        std::string first;
        std::string second;
    } rows[] = {
        {"grows", beforeItIsOpened, [&] { write("a.txt", "longer than it was"); }, "Scanned: 3", summaryOf(1, 2, 0, 0),
         summaryOf(1, 2, 0, 0)},
        {"shrinks", beforeItIsOpened, [&] { write("a.txt", "s"); }, "Scanned: 3", summaryOf(1, 2, 0, 0),
         summaryOf(1, 2, 0, 0)},
        {"goes", beforeItIsOpened, remove, fails + "opened: No such file or directory)", summaryOf(0, 2, 0, 1),
         summaryOf(0, 2, 1, 0)},
        {"becomes a folder", beforeItIsOpened,
         [&] {
             fs::remove(path);
             fs::create_directory(path);
         },
         fails + "sent: it is not a regular file)", summaryOf(0, 2, 0, 1), summaryOf(0, 2, 1, 0)},
        {"becomes a pipe", beforeItIsOpened,
         [&] {
             fs::remove(path);
             ::mkfifo(path.c_str(), 0600);
         },
         fails + "sent: it is not a regular file)", summaryOf(0, 2, 0, 1), summaryOf(0, 2, 1, 0)},
        {"grows on its way", whileItIsSent, [&] { write("a.txt", "longer than it was"); }, "Scanned: 3",
         summaryOf(1, 2, 0, 0), summaryOf(1, 2, 0, 0)},
        {"shrinks on its way", whileItIsSent, [&] { write("a.txt", "s"); },
         fails + "sent: it became shorter meanwhile)", summaryOf(0, 2, 0, 1), summaryOf(1, 2, 0, 0)},
        {"goes on its way", whileItIsSent, remove, "Scanned: 3", summaryOf(1, 2, 0, 0), summaryOf(0, 2, 1, 0)},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        write("a.txt", row.name);
        Machine machine(folder.path(), {row.moment});
        const std::unique_ptr<Program> agent = startOn(machine);
        ASSERT_TRUE(machine.waitForHeld(1));
        row.deed();
        machine.release();
        endAfterTheStart(*agent);
        expectTold(*agent, row.told);
        EXPECT_EQ(agent->lastLine("Summary: "), row.first);
        EXPECT_EQ(syncOnce(), row.second);
        EXPECT_EQ(hosted(), disk());
        fs::remove(path); // whatever lies there
        write("a.txt", std::string(row.name) + " comes back");
        EXPECT_EQ(syncOnce(), summaryOf(1, 2, 0, 0));
        expectAllWell();
    }
}

TEST_F(Surroundings, MayReplaceTheRoot) {
    const std::string other = elsewhere();
    const std::string kept = "Folder not available: ROOT (";
    const struct {
        const char* name;
        std::function<void()> replace;
        std::string told;
        std::string summary;
    } rows[] = {
        {"by nothing", [] {}, kept + "No such file or directory)", summaryOf(0, 0, 0, 0)},
        {"by a file", [&] { folder.write("documents", "a file"); }, kept + "Not a directory)", summaryOf(0, 0, 0, 0)},
        {"by a link to nothing", [&] { fs::create_symlink("nowhere", root); }, kept + "No such file or directory)",
         summaryOf(0, 0, 0, 0)},
        {"by a link to itself", [&] { fs::create_symlink(root, root); }, kept + "Too many levels of symbolic links)",
         summaryOf(0, 0, 0, 0)},
        {"by a link to where it is", [&] { fs::create_directory_symlink(away, root); }, "Found 3 files. Indexing...",
         summaryOf(0, 3, 0, 0)},
        {"by another file system", [&] { fs::create_directory_symlink(other, root); },
         kept + "its volume is not mounted)", summaryOf(0, 0, 0, 0)},
    };
    const Documents before = hosted();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        moveRootAway();
        row.replace();
        const std::unique_ptr<Program> agent = start();
        endAfterTheStart(*agent);
        expectTold(*agent, row.told);
        EXPECT_EQ(agent->lastLine("Summary: "), row.summary);
        EXPECT_EQ(hosted(), before);
        moveRootBack();
        EXPECT_EQ(syncOnce(), summaryOf(0, 3, 0, 0));
        expectAllWell();
    }
    fs::remove(other);
}

TEST_F(Surroundings, MayMountAnotherFileSystemOverTheRoot) {
    // With mounts of its own, where this user may have such; else the link of the case above stands for it.
    const bool mayMount = std::system("unshare -m true 2>/dev/null") == 0;
    const char* const mounted = "mount -t tmpfs none \"$1\" && exec \"$0\"";
    const char* const asItIs = "exec \"$0\"";
    std::vector<std::string> words{"-c", mayMount ? mounted : asItIs, agentPath, root};
    if (mayMount) {
        words.insert(words.begin(), {"-m", "/bin/sh"});
    }
    const std::unique_ptr<Program> agent = start(mayMount ? "/usr/bin/unshare" : "/bin/sh", words);
    endAfterTheStart(*agent);
    expectTold(*agent,
               mayMount ? "Folder not available: ROOT (its volume is not mounted)" : "Found 3 files. Indexing...");
    EXPECT_EQ(agent->lastLine("Summary: "), summaryOf(0, mayMount ? 0 : 3, 0, 0));
    EXPECT_EQ(syncOnce(), summaryOf(0, 3, 0, 0));
    expectAllWell();
}

TEST_F(Surroundings, MayCloseAFolderToTheUser) {
    write("a.txt", "second");
    fs::permissions(root + "/sub", fs::perms::none);
    const bool isRoot = ::geteuid() == 0;
    if (isRoot) { // whom no permission stops: an ordinary user takes over
        ASSERT_EQ(std::system(("chown -R 65534:65534 " + folder.string()).c_str()), 0);
    }
    const std::unique_ptr<Program> agent =
        isRoot ? start("/usr/bin/setpriv", {"--reuid=65534", "--regid=65534", "--clear-groups", agentPath}) : start();
    endAfterTheStart(*agent);
    expectTold(*agent, "Folder not available: ROOT/sub (Permission denied)");
    EXPECT_EQ(agent->lastLine("Summary: "), summaryOf(1, 1, 0, 0));
    fs::permissions(root + "/sub", fs::perms::owner_all);
    EXPECT_EQ(syncOnce(), summaryOf(0, 3, 0, 0));
    expectAllWell();
}

TEST_F(Surroundings, MayLimitWhatTheAgentHas) {
    std::string deep = "deep";
    for (int level = 0; level < 60; ++level) {
        deep += "/" + std::to_string(level);
    }
    write(deep + "/c.txt", "deep");
    EXPECT_EQ(syncOnce(), summaryOf(1, 3, 0, 0));
    write("a.txt", "second");
    const std::unique_ptr<Program> fewFiles = start("/bin/sh", {"-c", "ulimit -n 40; exec \"$0\"", agentPath});
    endAfterTheStart(*fewFiles);
    expectTold(*fewFiles, "Folder not available: ROOT/deep/* (Too many open files)");
    EXPECT_EQ(fewFiles->lastLine("Summary: "), summaryOf(1, 2, 0, 0));
    EXPECT_EQ(syncOnce(), summaryOf(0, 4, 0, 0));
    expectAllWell();

    changeThePreferences();
    const std::unique_ptr<Program> shortFiles = start("/bin/sh", {"-c", "ulimit -f 0; exec \"$0\"", agentPath});
    endAfterTheStart(*shortFiles);
    expectTold(*shortFiles, "Auto-start failed: " + stateFile("written") + "disk I/O error");
    EXPECT_EQ(syncOnce(), summaryOf(0, 4, 0, 0));
    expectAllWell();
}

} // namespace veskline::testing
