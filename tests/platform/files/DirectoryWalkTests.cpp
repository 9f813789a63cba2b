#include "platform/async/ThreadPool.h"
#include "platform/files/DirectoryWalk.h"
#include "platform/files/OpenDescriptor.h"
#include "platform/files/Paths.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <filesystem>
#include <random>
#include <set>
#include <stdexcept>
#include <sys/resource.h>
#include <sys/stat.h>

using namespace platform;
using DirectoryWalk::Calls;
namespace fs = std::filesystem;

namespace {

using Paths = std::vector<std::string>;
using Read = std::function<ssize_t(int folder, std::span<std::byte> buffer)>;

class DirectoryWalkTest : public ::testing::Test {
protected:
    // Trees of hostile depth are nothing for the library's own removal.
    ~DirectoryWalkTest() override { EXPECT_EQ(std::system(("rm -rf " + folder_.string() + "/*").c_str()), 0); }

    // The files below the root, sorted; wants all but what is called "no".
    Paths walk() {
        Paths files;
        const auto add = [&](std::string_view path, std::string_view) {
            files.emplace_back(path.substr(root_.size() + 1));
        };
        outcome_ =
            DirectoryWalk::run(root_, {.wants = [](auto name) { return name != "no"; }, .file = add}, nullptr, calls_);
        std::ranges::sort(files);
        return files;
    }
    // The same by two threads; how many of the files the second one found.
    Paths walkTogether(std::size_t& byHelper) {
        Paths files;
        Paths helpers;
        const auto wants = [](std::string_view name) { return name != "no"; };
        const auto addTo = [&](Paths& to) {
            return DirectoryWalk::Visitor{.wants = wants, .file = [&](std::string_view path, std::string_view) {
                                              to.emplace_back(path.substr(root_.size() + 1));
                                          }};
        };
        outcome_ = DirectoryWalk::run(root_, addTo(files), nullptr, calls_, {pool_.executor(), addTo(helpers)});
        byHelper = helpers.size();
        files.insert(files.end(), helpers.begin(), helpers.end());
        std::ranges::sort(files);
        return files;
    }
    void write(const Paths& names) const {
        for (const std::string& name : names) {
            folder_.write("root/" + name, "");
        }
    }
    // The kernel's answers on a file system that does not tell types with names.
    static ssize_t readWithoutTypes(int folder, std::span<std::byte> buffer) {
        const ssize_t count = Calls::kernel().read(folder, buffer);
        for (ssize_t at = 0; at < count;) {
            auto* entry = reinterpret_cast<struct dirent64*>(buffer.data() + at);
            entry->d_type = DT_UNKNOWN;
            at += entry->d_reclen;
        }
        return count;
    }
    static ino_t inodeOf(int folder) {
        struct stat found{};
        return ::fstat(folder, &found) == 0 ? found.st_ino : 0;
    }
    [[nodiscard]] ino_t inodeOf(const std::string& name) const {
        struct stat found{};
        return ::stat((root_ + name).c_str(), &found) == 0 ? found.st_ino : 0;
    }
    // In each folder a leaf with a file, the next folder, and another leaf. The paths get longer than the system takes.
    void makeDeep(int depth) const {
        OpenDescriptor at = OpenDescriptor::folder(AT_FDCWD, root_);
        for (int level = 0; level < depth; ++level) {
            for (const char* const name : {"a", "next", "z"}) {
                ::mkdirat(at.number(), name, 0700);
            }
            ::mknodat(at.number(), "a/file", S_IFREG | 0600, 0);
            ::mknodat(at.number(), "z/file", S_IFREG | 0600, 0);
            at = OpenDescriptor::folder(at.number(), "next");
        }
    }

    TemporaryFolder folder_;
    std::string root_ = folder_.makeFolder("root");
    Calls calls_ = Calls::kernel();
    DirectoryWalk::Outcome outcome_;
    async::ThreadPool pool_{1};
};

} // namespace

TEST_F(DirectoryWalkTest, FindsRegularFilesUnderEveryNameAndFollowsNoLink) {
    Paths expected{"a.txt", "b/c/d.txt", "b/new\nline \"%41\" #?.txt", "b/" + std::string(255, 'n'), "\xFF/\xFE"};
    write(expected);
    write({"no/x.txt", "b/no"});
    std::ranges::sort(expected);
    fs::create_symlink("a.txt", root_ + "/l.txt");
    fs::create_symlink("../b", root_ + "/b/c/up");
    ASSERT_EQ(::mkfifo((root_ + "/pipe.txt").c_str(), 0600), 0);
    fs::create_symlink("root", folder_.at("way"));
    for (const std::string& start : {folder_.at("root"), folder_.at("way")}) {
        for (const Read& read : {Calls::kernel().read, Read(readWithoutTypes)}) {
            root_ = start;
            calls_.read = read;
            EXPECT_EQ(walk(), expected);
            EXPECT_TRUE(outcome_.failures.empty());
            ASSERT_EQ(outcome_.fileSystems.size(), 1U);
            EXPECT_EQ(outcome_.fileSystems[0].path, start);
        }
    }
}

TEST_F(DirectoryWalkTest, WalksTheWholeDiskUnderASlash) {
    const fs::path file = folder_.write("root/only.txt", "");
    const std::set<std::string, std::less<>> names(file.begin(), file.end());
    calls_.identify = [](int) { return FileSystemIdentity{.text = "any"}; };
    Paths found;
    const auto outcome =
        DirectoryWalk::run("/",
                           {.wants = [&](std::string_view name) { return names.contains(name); },
                            .file = [&](std::string_view path, std::string_view) { found.emplace_back(path); }},
                           nullptr, calls_);
    EXPECT_EQ(found, Paths{file.string()});
    EXPECT_EQ(outcome.fileSystems.at(0), (DirectoryWalk::MountPoint{.path = "/", .identity = "any"}));
}

TEST_F(DirectoryWalkTest, TakesAListingThatBreaksOffForAFailedOneUnlessTheFolderIsGone) {
    write({"a.txt", "b.txt"});
    int error = EIO;
    const Read failingAtItsEnd = [&](int folder, std::span<std::byte> buffer) {
        const ssize_t count = Calls::kernel().read(folder, buffer);
        errno = error;
        return count == 0 ? -1 : count;
    };
    const auto failsWithoutTypes = [&](int folder, const char* name, struct stat& found) {
        errno = error;
        return *name == '\0' ? ::fstat(folder, &found) : -1;
    };
    for (const Read& read : {failingAtItsEnd, Read(readWithoutTypes)}) {
        calls_.read = read;
        calls_.stat = failsWithoutTypes;
        error = EIO;
        walk();
        EXPECT_EQ(outcome_.failures, (std::vector<DirectoryWalk::Failure>{{root_, "Input/output error"}}));
        error = ENOENT;
        walk();
        EXPECT_TRUE(outcome_.failures.empty());
    }
}

TEST_F(DirectoryWalkTest, DoesNotFollowAFolderThatBecomesALink) {
    write({"sub/mine.txt"});
    folder_.write("secret/theirs.txt", "");
    calls_.read = [&](int folder, std::span<std::byte> buffer) {
        const ssize_t count = Calls::kernel().read(folder, buffer);
        if (!fs::is_symlink(root_ + "/sub")) {
            fs::remove_all(root_ + "/sub");
            fs::create_directory_symlink(folder_.at("secret"), root_ + "/sub");
        }
        return count;
    };
    EXPECT_EQ(walk(), Paths());
    EXPECT_TRUE(outcome_.failures.empty());
}

TEST_F(DirectoryWalkTest, NamesMountPointsAndStaysOutOfTheKernelsOwnAndOutOfLoops) {
    write({"a.txt", "disk/b.txt", "disk/below/c.txt", "disk/below/bound/x.txt", "proc/d.txt"});
    const ino_t disk = inodeOf("/disk");
    const ino_t proc = inodeOf("/proc");
    const std::set<ino_t> onDisk{disk, inodeOf("/disk/below"), inodeOf("/disk/below/bound")};
    calls_.stat = [&](int folder, const char* name, struct stat& found) {
        const int result = Calls::kernel().stat(folder, name, found);
        found.st_dev = found.st_ino == proc ? 8 : onDisk.contains(found.st_ino) ? 9 : 7;
        found.st_ino = found.st_ino == inodeOf("/disk/below/bound") ? disk : found.st_ino;
        return result;
    };
    calls_.identify = [&](int folder) {
        const ino_t inode = inodeOf(folder);
        return FileSystemIdentity{.text = std::to_string(inode), .isKernelMade = inode == proc};
    };
    EXPECT_EQ(walk(), (Paths{"a.txt", "disk/b.txt", "disk/below/c.txt"})) << "bound below itself, it is entered once";
    EXPECT_EQ(outcome_.fileSystems, (std::vector<DirectoryWalk::MountPoint>{{root_, std::to_string(inodeOf(""))},
                                                                            {root_ + "/disk", std::to_string(disk)}}));
    EXPECT_EQ(outcome_.failures,
              (std::vector<DirectoryWalk::Failure>{{root_ + "/proc", "its file system is made by the kernel"}}));
}

TEST_F(DirectoryWalkTest, GoesToAnyDepthWithFewDescriptors) {
    makeDeep(5000);
    rlimit usual{};
    ::getrlimit(RLIMIT_NOFILE, &usual);
    const auto open = std::ranges::distance(fs::directory_iterator("/proc/self/fd")) - 1; // but this one
    const rlimit tight{.rlim_cur = static_cast<rlim_t>(open + 64), .rlim_max = usual.rlim_max};
    ::setrlimit(RLIMIT_NOFILE, &tight);
    const std::size_t files = walk().size();
    ::setrlimit(RLIMIT_NOFILE, &usual);
    EXPECT_EQ(files, 10'000U);
    EXPECT_TRUE(outcome_.failures.empty());
}

// Wide, deep and lopsided, with folders that can't be told apart from the root's on the way.
TEST_F(DirectoryWalkTest, SeesTheSameWithTwoThreads) {
    std::mt19937 random(1);
    Paths names;
    for (int file = 0; file < 3'000; ++file) {
        std::string name = "f" + std::to_string(random() % 10);
        for (unsigned depth = random() % 5; depth > 0; --depth) {
            name += "/" + std::to_string(random() % (name.size() < 5 ? 200 : 3));
        }
        names.push_back(name + "/" + std::to_string(file) + ".txt");
    }
    for (int depth = 0; depth < 100; ++depth) {
        names.push_back((names.back().size() > 400 ? "deep" : names.back()) + ".d/x.txt");
    }
    write(names);
    fs::create_symlink("..", root_ + "/f1/up");
    const Paths alone = walk();
    const DirectoryWalk::Outcome outcome = outcome_;
    ASSERT_GE(alone.size(), 3'000U);
    std::size_t byHelper = 0;
    for (int round = 0; round < 100 || byHelper == 0; ++round) {
        std::size_t now = 0;
        ASSERT_EQ(walkTogether(now), alone);
        ASSERT_EQ(outcome_.fileSystems, outcome.fileSystems);
        ASSERT_TRUE(outcome_.failures.empty());
        byHelper += now;
    }
}

TEST_F(DirectoryWalkTest, EndsWithBothThreadsWhereOneIsBrokenOff) {
    for (int folder = 0; folder < 300; ++folder) {
        write({std::to_string(folder) + "/a/b.txt", std::to_string(folder) + "/c.txt"});
    }
    const auto every = [](std::string_view) { return true; };
    for (int most = 5; most < 600; most += 5) {
        std::atomic<int> seen = 0;
        std::atomic<bool> stop = false;
        const auto run = [&](const std::function<void()>& endEarly) {
            seen = 0;
            const DirectoryWalk::Visitor visitor{.wants = every, .file = [&](std::string_view, std::string_view) {
                                                     if (++seen == most) {
                                                         endEarly();
                                                     }
                                                 }};
            return DirectoryWalk::run(root_, visitor, &stop, calls_, {pool_.executor(), visitor});
        };
        EXPECT_THROW((void)run([] { throw std::length_error("too many"); }), std::length_error);
        EXPECT_EQ(run([&] { stop = true; }).failures,
                  (std::vector<DirectoryWalk::Failure>{{root_, "the listing was broken off"}}));
    }
}
