#include "WatchedRootFixture.h"
#include "support/Unprivileged.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <functional>
#include <random>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace veskline {

// --- Changes under a watch that stands ---

TEST_F(WatchedRootTest, TellsEachKindOfChange) {
    const auto writing = [&](const char* name) { return [=, this] { write(name, "more"); }; };
    const auto moving = [](const fs::path& from, const fs::path& to) { return [=] { fs::rename(from, to); }; };
    const auto writeThroughAMapping = [&] {
        const int file = ::open(in("new.txt").c_str(), O_RDWR);
        void* const page = ::mmap(nullptr, 4, PROT_WRITE, MAP_SHARED, file, 0);
        *static_cast<char*>(page) = 'M';
        ::munmap(page, 4);
        ::close(file);
    };
    struct Row {
        std::string_view name;
        std::function<void()> change;
        Told told;
    };
    const Row rows[] = {
        {"a new file", writing("new.txt"), {"new.txt"}},
        {"new content", writing("docs/a.txt"), {"docs/a.txt"}},
        {"a touch", [&] { fs::last_write_time(in("docs/a.txt"), {}); }, {"docs/a.txt"}},
        {"new permissions", [&] { ::chmod(in("docs").c_str(), 0700); }, {"docs"}},
        {"a rename", moving(in("docs/a.txt"), in("b.txt")), {"docs/a.txt", "b.txt"}},
        {"a deletion", [&] { fs::remove(in("b.txt")); }, {"b.txt"}},
        {"a file written through a mapping", writeThroughAMapping, {"new.txt"}},
        {"a file that is read", [&] { EXPECT_EQ(folder_.read("watched/new.txt"), "More"); }, {}},
        {"folders filled at once", writing("made/deep/x.txt"), {"made", "made/deep", "made/deep/x.txt"}},
        {"a folder moved in", moving(outside("full"), in("full")), {"full", "full/deep", "full/deep/y.txt"}},
        {"a file in it", writing("full/deep/y.txt"), {"full/deep/y.txt"}},
        {"a folder moved within",
         moving(in("full"), in("docs/kept")),
         {"full", "docs/kept", "docs/kept/deep", "docs/kept/deep/y.txt"}},
        {"a file below it", writing("docs/kept/deep/z.txt"), {"docs/kept/deep/z.txt"}},
        {"a folder moved out", moving(in("docs/kept"), outside("kept")), {"docs/kept"}},
        {"a file below it", [&] { folder_.write("outside/kept/deep/z.txt", "more"); }, {}},
        {"a hidden folder", writing(".git/index"), {".git"}},
        {"a file in an excluded folder", writing("node_modules/m/x.txt"), {"node_modules"}},
        {"a folder that becomes hidden", moving(in("made"), in(".made")), {"made", ".made"}},
        {"a file below it", writing(".made/deep/x.txt"), {}},
        {"a link to a folder", [&] { fs::create_directory_symlink(outside(""), in("link")); }, {"link"}},
        {"a file behind it", [&] { folder_.write("outside/x.txt", ""); }, {}},
        {"a folder that the agent writes itself", writing("own state/queue.json"), {"own state"}},
        {"a file in it", writing("own state/queue.json"), {}},
    };
    write("docs/a.txt");
    folder_.write("outside/full/deep/y.txt", "");
    start();
    for (const Row& row : rows) {
        row.change();
        EXPECT_EQ(told(), row.told) << row.name;
    }
}

TEST_F(WatchedRootTest, FollowsATreeHoweverDeepAndWide) {
    start();
    std::string deep;
    for (int level = 0; level < 200; ++level) {
        deep += "level/";
    }
    write(deep + "a.txt");
    for (int i = 0; i < 200; ++i) {
        write("wide/" + std::to_string(i) + "/a.txt");
    }
    const Told found = told();
    EXPECT_TRUE(found.contains(deep + "a.txt"));
    EXPECT_EQ(found.size(), 201U + 401);
    EXPECT_EQ(root_->watchedFolders(), 1U + 200 + 201);
    write(deep + "b.txt");
    EXPECT_EQ(told(), Told{deep + "b.txt"});
    fs::rename(in("wide"), outside("wide"));
    EXPECT_EQ(told(), Told{"wide"});
    EXPECT_EQ(root_->watchedFolders(), 1U + 200);
}

TEST_F(WatchedRootTest, FindsAFolderThatBecomesReadable) {
    write("shut/a.txt");
    const testing::Unprivileged user(folder_.path());
    ::chmod(in("shut").c_str(), 0);
    start();
    ::chmod(in("shut").c_str(), 0700);
    EXPECT_EQ(told(), (Told{"shut", "shut/a.txt"}));
    write("shut/a.txt", "more");
    EXPECT_EQ(told(), Told{"shut/a.txt"});
}

// Folders are made, moved, swapped and removed at random while the watch is at any point of its work. In the end every
// folder has its one watch, and a change in any of them is told under its own path.
TEST_F(WatchedRootTest, KeepsUpWithAnyOrderOfMoves) {
    for (unsigned seed = 0; seed < 60; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        for (const char* const name : {"watched", "outside"}) {
            fs::remove_all(folder_.at(name));
            folder_.makeFolder(name);
        }
        folder_.makeFolder("watched/a/b");
        start();
        const auto pick = [&] { // a folder in or out of the tree, the two roots themselves too
            std::vector<fs::path> all{in(""), outside("")};
            for (const auto& entry : fs::recursive_directory_iterator(folder_.path())) {
                all.push_back(entry.path());
            }
            return all[random() % all.size()];
        };
        const std::array<std::string_view, 4> names{"a", "b", "c", ".hidden"};
        for (int step = 0; step < 60; ++step) {
            std::error_code refused; // a folder into itself, a full one over another
            const fs::path from = pick();
            const fs::path to = pick() / names[random() % names.size()];
            switch (random() % 5) {
            case 0:
            case 1:
                fs::create_directory(to, refused);
                break;
            case 2:
                fs::rename(from, to, refused);
                break;
            case 3:
                ::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_EXCHANGE);
                break;
            default:
                fs::remove(from, refused);
            }
            fs::create_directory(in(""), refused);
            fs::create_directory(outside(""), refused);
            for (auto steps = random() % 4; steps > 0; --steps) {
                random() % 2 == 0 ? root_->work() : static_cast<void>(root_->readEvents());
            }
        }
        static_cast<void>(told());
        static_cast<void>(toldByLook()); // the root itself may have been replaced
        std::size_t folders = 1;
        for (auto entry = fs::recursive_directory_iterator(in("")); entry != fs::end(entry); ++entry) {
            if (entry->path().filename().string().starts_with('.')) {
                entry.disable_recursion_pending();
                continue;
            }
            ++folders;
            ::chmod(entry->path().c_str(), 0755);
            EXPECT_EQ(told(), Told{entry->path().string().substr(in("").size())});
        }
        EXPECT_EQ(root_->watchedFolders(), folders);
    }
}

// --- The time until the watch stands ---

TEST_F(WatchedRootTest, TellsWhatChangesWhileItIsSetUpAndNothingFromBefore) {
    for (const char* const name : {"early", "late"}) {
        for (const char* const file : {"/old.txt", "/changed.txt", "/moved/a.txt"}) {
            write(name + std::string(file));
        }
    }
    // Right before the one folder gets its watch, and right after the other has got it.
    calls_->watch = [&, real = calls_->watch](int instance, int folder) {
        const fs::path path = fs::read_symlink("/proc/self/fd/" + std::to_string(folder));
        const bool isLate = path.filename() == "late";
        const int watch = isLate ? real(instance, folder) : 0;
        if (fs::exists(path / "moved")) {
            write((path / "changed.txt").lexically_relative(in("")).string(), "more");
            fs::rename(path / "moved", path / "here");
        }
        return isLate ? watch : real(instance, folder);
    };
    begin();
    const Told found = told();
    for (const std::string name : {"early", "late"}) {
        EXPECT_TRUE(found.contains(name + "/changed.txt"));
        EXPECT_TRUE(found.contains(name) || found.contains(name + "/here"));
        EXPECT_FALSE(found.contains(name + "/old.txt"));
        write(name + "/here/a.txt", "more");
    }
    EXPECT_EQ(told(), (Told{"early/here/a.txt", "late/here/a.txt"}));
}

// --- What the system loses or refuses ---

TEST_F(WatchedRootTest, NamesItselfWhereTheQueueOverflows) {
    start();
    for (int i = 0; i < 9000; ++i) { // two events each, no two alike in a row
        fs::create_directory(in("x"));
        fs::remove(in("x"));
    }
    write("made/in/the/storm.txt");
    EXPECT_TRUE(told().contains("."));
    write("made/in/the/storm.txt", "more");
    EXPECT_EQ(told(), Told{"made/in/the/storm.txt"});
}

TEST_F(WatchedRootTest, LooksAtFoldersThatGetNoWatch) {
    const WatchCalls real = WatchCalls::kernel();
    const Told files{"0/deep/a.txt", "1/deep/a.txt", "2/deep/a.txt", "3/deep/a.txt"};
    const auto writeAll = [&] { std::ranges::for_each(files, [&](const std::string& name) { write(name, "more"); }); };
    struct Row {
        int watches, error, instanceError;
    };
    for (const Row& row : {Row{2, ENOSPC, 0}, Row{0, ENOMEM, 0}, Row{0, 0, EMFILE}}) {
        SCOPED_TRACE(row.watches);
        bool isRefused = true;
        calls_->createInstance = [&] {
            errno = row.instanceError;
            return isRefused && row.instanceError != 0 ? -1 : real.createInstance();
        };
        calls_->watch = [&, granted = std::set<ino_t>()](int instance, int folder) mutable {
            struct stat found{};
            ::fstat(folder, &found);
            if (isRefused && !granted.contains(found.st_ino) && std::ssize(granted) >= row.watches) {
                errno = row.error;
                return -1;
            }
            granted.insert(found.st_ino);
            return real.watch(instance, folder);
        };
        writeAll();
        begin();
        EXPECT_EQ(told(), Told{"."});
        EXPECT_EQ(toldByLook(), Told{}); // nothing changes, so without a word
        writeAll();
        Told found = told();
        EXPECT_LT(found.size(), files.size());
        found.merge(toldByLook());
        EXPECT_TRUE(std::ranges::includes(found, files));
        isRefused = false;
        static_cast<void>(toldByLook());
        EXPECT_EQ(root_->watchedFolders(), 9U);
        write("3/deep/a.txt", "most");
        EXPECT_EQ(told(), Told{"3/deep/a.txt"});
    }
}

TEST_F(WatchedRootTest, ComesBackToAFolderThatCannotBeRead) {
    write("a/x.txt");
    calls_->list = [real = calls_->list, calls = 0](int folder, std::span<std::byte> buffer) mutable -> ssize_t {
        errno = EIO;
        return ++calls == 4 ? -1 : real(folder, buffer); // the second of "a"
    };
    start();
    EXPECT_EQ(toldByLook(), (Told{"a", "a/x.txt"}));
    write("a/x.txt", "more");
    EXPECT_EQ(told(), Told{"a/x.txt"});
}

TEST_F(WatchedRootTest, StartsAnewWhereEventsCannotBeRead) {
    std::optional<ssize_t> fault;
    calls_->read = [&fault, real = calls_->read](int instance, std::span<std::byte> buffer) {
        errno = EIO;
        return fault ? *std::exchange(fault, std::nullopt) : real(instance, buffer);
    };
    start();
    for (const ssize_t result : {-1, 0, 7}) { // a failure, an end, half an event
        passTick();
        fault = result;
        EXPECT_EQ(told(), Told{"."});
        write("a.txt", std::to_string(result));
        EXPECT_EQ(told(), Told{"a.txt"});
    }
}

} // namespace veskline
