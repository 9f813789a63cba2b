#include "platform/files/DirectoryWalk.h"
#include "platform/files/Paths.h"
#include "support/TemporaryFolder.h"
#include "support/Unprivileged.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <filesystem>
#include <set>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace platform {

namespace {

using DirectoryWalk::Calls;
using Paths = std::vector<std::string>;

struct Walked {
    Paths files; // below the root, sorted
    DirectoryWalk::Outcome outcome;
};

// Wants all but what is called "no".
Walked walk(const std::string& root, const Calls& calls = Calls::kernel(), const std::atomic<bool>* stop = nullptr) {
    Walked walked;
    const auto add = [&](std::string_view path, std::string_view name) {
        EXPECT_EQ(lastComponent(path), name);
        walked.files.emplace_back(path.substr(root.size() + 1));
    };
    const auto wants = [](std::string_view name) { return name != "no"; };
    walked.outcome = DirectoryWalk::run(root, {.wants = wants, .file = add}, stop, calls);
    std::ranges::sort(walked.files);
    return walked;
}

std::vector<DirectoryWalk::Failure> failure(const std::string& path, const std::string& reason) {
    return {{.path = path, .reason = reason}};
}

ino_t inodeOf(int folder, const char* path = "") {
    struct stat found{};
    return ::fstatat(folder, path, &found, AT_EMPTY_PATH) == 0 ? found.st_ino : 0;
}

ino_t inodeOf(const std::string& path) {
    return inodeOf(AT_FDCWD, path.c_str());
}

// The kernel's answers on a file system that does not tell types with names.
Calls withoutTypes() {
    Calls calls = Calls::kernel();
    calls.read = [read = calls.read](int folder, std::span<std::byte> buffer) {
        const ssize_t count = read(folder, buffer);
        for (ssize_t at = 0; at < count;) {
            auto* entry = reinterpret_cast<struct dirent64*>(buffer.data() + at);
            entry->d_type = DT_UNKNOWN;
            at += entry->d_reclen;
        }
        return count;
    };
    return calls;
}

// A tree of hostile depth: in each folder a leaf with a file, the next folder, and another leaf. Its paths are longer
// than the system takes.
class DeepTree {
public:
    DeepTree(const TemporaryFolder& folder, int depth) : root_(folder.makeFolder("deep")) {
        int at = ::open(root_.c_str(), O_RDONLY | O_DIRECTORY);
        for (int level = 0; level < depth; ++level) {
            for (const char* name : {"a", "next", "z"}) {
                ::mkdirat(at, name, 0700);
            }
            ::close(::openat(at, "a/file", O_CREAT | O_WRONLY, 0600));
            ::close(::openat(at, "z/file", O_CREAT | O_WRONLY, 0600));
            const int next = ::openat(at, "next", O_RDONLY | O_DIRECTORY);
            ::close(std::exchange(at, next));
        }
        deepest_ = inodeOf(at);
        ::close(at);
    }
    DeepTree(const DeepTree&) = delete;
    DeepTree& operator=(const DeepTree&) = delete;
    ~DeepTree() { EXPECT_EQ(std::system(("rm -rf " + root_).c_str()), 0); }
    [[nodiscard]] const std::string& root() const { return root_; }
    [[nodiscard]] ino_t deepest() const { return deepest_; }

private:
    std::string root_;
    ino_t deepest_;
};

} // namespace

TEST(DirectoryWalk, FindsRegularFilesUnderEveryNameAndFollowsNoLink) {
    const TemporaryFolder folder;
    const std::string longName(255, 'n');
    const Paths expected{"a.txt", "b/c/d.txt", "b/new\nline \"%41\" #?.txt", "b/" + longName, "\xFF/\xFE"};
    for (const std::string& name : expected) {
        folder.write("root/" + name, "");
    }
    folder.write("root/no/x.txt", "");
    folder.write("root/b/no", "");
    folder.makeFolder("root/empty");
    const std::string root = folder.at("root");
    for (const auto& [target, link] : {std::pair{"a.txt", "/l.txt"}, {".", "/b/loop"}, {"../b", "/b/c/up"}}) {
        ASSERT_EQ(::symlink(target, (root + link).c_str()), 0);
    }
    ASSERT_EQ(::mkfifo((root + "/pipe.txt").c_str(), 0600), 0);
    ASSERT_EQ(::symlink("root", folder.at("way").c_str()), 0);

    Paths sorted = expected;
    std::ranges::sort(sorted);
    for (const std::string& start : {root, folder.at("way")}) {
        for (const Calls& calls : {Calls::kernel(), withoutTypes()}) {
            const Walked walked = walk(start, calls);
            EXPECT_EQ(walked.files, sorted);
            EXPECT_TRUE(walked.outcome.failures.empty());
            ASSERT_EQ(walked.outcome.fileSystems.size(), 1U);
            EXPECT_EQ(walked.outcome.fileSystems[0].path, start);
        }
    }
}

TEST(DirectoryWalk, WalksTheWholeDiskUnderASlash) {
    const TemporaryFolder folder;
    const std::string file = folder.write("only.txt", "");
    Calls calls = Calls::kernel();
    calls.identify = [](int) { return FileSystemIdentity{.text = "any"}; };
    const std::filesystem::path way = file;
    const std::set<std::string, std::less<>> names(way.begin(), way.end());
    Paths found;
    const auto outcome =
        DirectoryWalk::run("/",
                           {.wants = [&](std::string_view name) { return names.contains(name); },
                            .file = [&](std::string_view path, std::string_view) { found.emplace_back(path); }},
                           nullptr, calls);
    EXPECT_EQ(found, Paths{file});
    EXPECT_EQ(outcome.fileSystems.at(0), (DirectoryWalk::MountPoint{.path = "/", .identity = "any"}));
}

TEST(DirectoryWalk, TellsOfFoldersThatItCannotList) {
    const TemporaryFolder folder;
    folder.write("root/seen/a.txt", "");
    const std::string closed = folder.makeFolder("root/closed");
    const std::string file = folder.write("file", "");
    const veskline::testing::Unprivileged here(folder.path());
    ASSERT_EQ(::chmod(closed.c_str(), 0), 0);

    const Walked walked = walk(folder.at("root"));
    EXPECT_EQ(walked.files, Paths{"seen/a.txt"});
    EXPECT_EQ(walked.outcome.failures, failure(closed, "Permission denied"));
    EXPECT_EQ(walk(folder.at("gone")).outcome.failures, failure(folder.at("gone"), "No such file or directory"));
    EXPECT_EQ(walk(file).outcome.failures, failure(file, "Not a directory"));
    EXPECT_EQ(walk(closed).outcome.failures, failure(closed, "Permission denied"));
}

TEST(DirectoryWalk, TakesAListingThatBreaksOffForAFailedOne) {
    const TemporaryFolder folder;
    const std::string root = folder.makeFolder("root");
    folder.write("root/a.txt", "");
    folder.write("root/b.txt", "");
    int error = EIO;
    Calls endless = Calls::kernel(); // fails where the listing would end
    endless.read = [&, read = endless.read](int descriptor, std::span<std::byte> buffer) {
        const ssize_t count = read(descriptor, buffer);
        errno = error;
        return count == 0 ? -1 : count;
    };
    Calls blind = withoutTypes(); // cannot tell what an entry is
    blind.stat = [&, stat = blind.stat](int descriptor, const char* name, struct stat& found) {
        errno = error;
        return *name == '\0' ? stat(descriptor, name, found) : -1;
    };
    EXPECT_EQ(walk(root, endless).files, (Paths{"a.txt", "b.txt"}));
    EXPECT_EQ(walk(root, endless).outcome.failures, failure(root, "Input/output error"));
    EXPECT_EQ(walk(root, blind).outcome.failures, failure(root, "Input/output error"));
    error = ENOENT; // removed meanwhile
    EXPECT_TRUE(walk(root, endless).outcome.failures.empty());
    EXPECT_TRUE(walk(root, blind).outcome.failures.empty());
}

TEST(DirectoryWalk, DoesNotFollowAFolderThatBecomesALink) {
    const TemporaryFolder folder;
    folder.write("root/sub/mine.txt", "");
    folder.write("secret/theirs.txt", "");
    const std::string sub = folder.at("root/sub");
    Calls calls = Calls::kernel();
    calls.read = [&, read = calls.read](int descriptor, std::span<std::byte> buffer) {
        const ssize_t count = read(descriptor, buffer);
        if (!std::filesystem::is_symlink(sub)) {
            std::filesystem::remove_all(sub);
            std::filesystem::create_directory_symlink(folder.at("secret"), sub);
        }
        return count;
    };
    const Walked walked = walk(folder.at("root"), calls);
    EXPECT_TRUE(std::filesystem::is_symlink(sub));
    EXPECT_TRUE(walked.files.empty());
    EXPECT_TRUE(walked.outcome.failures.empty());
}

TEST(DirectoryWalk, NamesMountPointsAndStaysOutOfTheKernelsOwn) {
    const TemporaryFolder folder;
    for (const char* name : {"root/a.txt", "root/disk/b.txt", "root/disk/below/c.txt", "root/proc/d.txt"}) {
        folder.write(name, "");
    }
    const std::string root = folder.at("root");
    const ino_t disk = inodeOf(root + "/disk");
    const ino_t proc = inodeOf(root + "/proc");
    const ino_t below = inodeOf(root + "/disk/below");
    Calls calls = Calls::kernel();
    calls.stat = [&, stat = calls.stat](int descriptor, const char* name, struct stat& found) {
        const int result = stat(descriptor, name, found);
        found.st_dev = found.st_ino == proc ? 8 : found.st_ino == disk || found.st_ino == below ? 9 : 7;
        return result;
    };
    calls.identify = [&](int descriptor) {
        const ino_t inode = inodeOf(descriptor);
        return FileSystemIdentity{.text = std::to_string(inode), .isKernelMade = inode == proc};
    };
    const Walked walked = walk(root, calls);
    const std::vector<DirectoryWalk::MountPoint> expected{{root, std::to_string(inodeOf(root))},
                                                          {root + "/disk", std::to_string(disk)}};
    EXPECT_EQ(walked.files, (Paths{"a.txt", "disk/b.txt", "disk/below/c.txt"}));
    EXPECT_EQ(walked.outcome.fileSystems, expected);
    EXPECT_EQ(walked.outcome.failures, failure(root + "/proc", "its file system is made by the kernel"));
}

TEST(DirectoryWalk, EntersAFolderThatIsBoundBelowItselfOnce) {
    const TemporaryFolder folder;
    folder.write("root/a/b/bound/x.txt", "");
    folder.write("root/a/b/y.txt", "");
    const ino_t bound = inodeOf(folder.at("root/a/b/bound"));
    Calls calls = Calls::kernel();
    calls.stat = [&, stat = calls.stat](int descriptor, const char* name, struct stat& found) {
        const int result = stat(descriptor, name, found);
        found.st_ino = found.st_ino == bound ? inodeOf(folder.at("root/a")) : found.st_ino;
        return result;
    };
    EXPECT_EQ(walk(folder.at("root"), calls).files, Paths{"a/b/y.txt"});
}

TEST(DirectoryWalk, GoesToAnyDepthWithFewDescriptors) {
    const TemporaryFolder folder;
    constexpr int depth = 5000;
    const DeepTree tree(folder, depth);
    rlimit usual{};
    ::getrlimit(RLIMIT_NOFILE, &usual);
    const auto open = std::ranges::distance(std::filesystem::directory_iterator("/proc/self/fd")) - 1; // but this one
    const rlimit tight{.rlim_cur = static_cast<rlim_t>(open + 64), .rlim_max = usual.rlim_max};
    ::setrlimit(RLIMIT_NOFILE, &tight);
    int files = 0;
    const auto outcome = DirectoryWalk::run(
        tree.root(), {.wants = [](std::string_view) { return true; }, .file = [&](auto, auto) { ++files; }});
    ::setrlimit(RLIMIT_NOFILE, &usual);
    EXPECT_EQ(files, 2 * depth);
    EXPECT_TRUE(outcome.failures.empty());
}

TEST(DirectoryWalk, TellsOfAllThatItCannotReachWhenTheWayBackIsMoved) {
    const TemporaryFolder folder;
    const DeepTree tree(folder, 200);
    const std::string moving = tree.root() + "/next/next/next";
    const std::string away = folder.at("away");
    Calls calls = Calls::kernel();
    calls.read = [&, read = calls.read](int descriptor, std::span<std::byte> buffer) {
        if (inodeOf(descriptor) == tree.deepest()) {
            (void)std::rename(moving.c_str(), away.c_str());
        }
        return read(descriptor, buffer);
    };
    const Walked walked = walk(tree.root(), calls);
    ASSERT_EQ(::rename(away.c_str(), moving.c_str()), 0);
    const std::set<std::string> seen(walked.files.begin(), walked.files.end());
    for (const std::string& file : walk(tree.root()).files) {
        const bool isToldOf = std::ranges::any_of(walked.outcome.failures, [&](const DirectoryWalk::Failure& failed) {
            return isBelow(tree.root() + "/" + file, failed.path);
        });
        EXPECT_TRUE(seen.contains(file) || isToldOf) << file;
    }
}

TEST(DirectoryWalk, BreaksOffWhenItIsStopped) {
    const TemporaryFolder folder;
    folder.write("a/b/c.txt", "");
    std::atomic<bool> stop = false;
    Calls calls = Calls::kernel();
    calls.read = [&, read = calls.read](int descriptor, std::span<std::byte> buffer) {
        stop = true;
        return read(descriptor, buffer);
    };
    const Walked walked = walk(folder.string(), calls, &stop);
    EXPECT_TRUE(walked.files.empty());
    EXPECT_EQ(walked.outcome.failures, failure(folder.string(), "the listing was broken off"));
}

} // namespace platform
