#include "runner/Row.h"

#include <fmt/format.h>

#include <algorithm>
#include <fstream>

namespace bench {

namespace {

// Names and sizes of the tree.
Peer find() {
    const auto prepare = [](const WorkFolder&, const std::string& tree) -> Row::Arguments {
        return {"find", tree, "-type", "f", "-fprintf", "/dev/null", "%s %p\n"};
    };
    return {.name = "find", .prepare = prepare, .timesFaster = 1};
}

std::string copyOf(const std::string& tree, const WorkFolder& data, const Interrupt& interrupt) {
    std::string copy = data.emptyFolder("copy");
    Program({"cp", "-a", tree + "/.", copy}, interrupt).finish();
    return copy;
}

// What else finds out that nothing has changed in a tree that was brought somewhere before.
std::vector<Peer> synchronizers(const Interrupt& interrupt) {
    const auto rclone = [&interrupt](const WorkFolder& data, const std::string& tree) -> Row::Arguments {
        return {"rclone", "sync", "--dry-run", "--quiet", tree, copyOf(tree, data, interrupt)};
    };
    const auto rsync = [&interrupt](const WorkFolder& data, const std::string& tree) -> Row::Arguments {
        return {"rsync", "-a", "--delete", "--dry-run", tree + "/", copyOf(tree, data, interrupt) + "/"};
    };
    const auto git = [&interrupt](const WorkFolder& data, const std::string& tree) -> Row::Arguments {
        const Row::Arguments command{"git", "--git-dir=" + data.emptyFolder("history"), "--work-tree=" + tree};
        const auto with = [&command](Row::Arguments words) {
            words.insert(words.begin(), command.begin(), command.end());
            return words;
        };
        Program(with({"init", "--quiet"}), interrupt).finish();
        Program(with({"add", "--all"}), interrupt).finish();
        Program(with({"-c", "user.name=bench", "-c", "user.email=bench@localhost", "commit", "--quiet", "-m", "all"}),
                interrupt)
            .finish();
        return with({"status", "--porcelain"});
    };
    return {{.name = "rclone", .prepare = rclone, .timesFaster = 5},
            {.name = "rsync", .prepare = rsync, .timesFaster = 1},
            {.name = "git", .prepare = git}};
}

Row walk(const Sizes& sizes) {
    return {
        .name = "walk",
        .meaning = fmt::format("the names of {} files, 20 a folder, sorted out by every rule; the floor knows the "
                               "extensions alone",
                               sizes.treeFiles),
        .goal = {.wall = 1.3},
        .prepare = [sizes](const WorkFolder& data) -> Row::NextArguments {
            return [tree = data.tree("tree", sizes.treeFiles)](const std::string&) { return Row::Arguments{tree}; };
        },
        .peers = {find()},
    };
}

// A start tells of each file; a rescan after a change only of what it found.
Row unchanged(const std::string& name, const Sizes& sizes, const Programs& programs, const Interrupt& interrupt) {
    return {
        .name = name,
        .meaning = fmt::format("the scan of a {} over {} files that have not changed: walk, state rows, a look at each",
                               name, sizes.treeFiles),
        .goal = {.wall = 1.3, .growthMiB = 30},
        .prepare = [=, &interrupt](const WorkFolder& data) -> Row::NextArguments {
            Row::Arguments arguments{data.tree("tree", sizes.treeFiles), data.emptyFolder("state")};
            Program({programs.agent, "remember", arguments[0], arguments[1]}, interrupt).finish();
            return [arguments = std::move(arguments)](const std::string&) { return arguments; };
        },
        .peers = name == "rescan" ? synchronizers(interrupt) : std::vector<Peer>(),
    };
}

Row digest(const Sizes& sizes) {
    return {
        .name = "digest",
        .meaning = fmt::format("SHA-256 of one file of {} MiB that lies in memory", sizes.largeBytes >> 20U),
        .goal = {.wall = 1 / 0.95, .growthMiB = 1},
        .prepare = [sizes](const WorkFolder& data) -> Row::NextArguments {
            Row::Arguments files{data.file("small.pdf", sizes.smallBytes), data.file("large.pdf", sizes.largeBytes)};
            return [files = std::move(files)](const std::string&) { return files; };
        },
    };
}

Row sync(const Sizes& sizes) {
    return {
        .name = "sync",
        .meaning = fmt::format("the first sync of {} files of {} bytes, no pause: digest, 5 requests, state row, each",
                               sizes.newFiles, sizes.newFileBytes),
        .goal = {.wall = 1.25, .cpu = 2},
        .prepare = [sizes](const WorkFolder& data) -> Row::NextArguments {
            return [folder = data.documents("documents", sizes.newFiles, sizes.newFileBytes),
                    &data](const std::string& url) { return Row::Arguments{url, folder, data.emptyFolder("state")}; };
        },
        .requests = 5 * sizes.newFiles + 1, // one asks who is signed in
    };
}

Row upload(const Sizes& sizes) {
    return {
        .name = "upload",
        .meaning = fmt::format("one file of {} MiB in one request, after a small one", sizes.largeBytes >> 20U),
        .goal = {.wall = 1 / 0.95, .growthMiB = 1},
        .prepare = [sizes](const WorkFolder& data) -> Row::NextArguments {
            return [small = data.file("small.pdf", sizes.smallBytes), large = data.file("large.pdf", sizes.largeBytes),
                    &data](const std::string& url) {
                return Row::Arguments{url, small, large, data.emptyFolder("state")};
            };
        },
        .requests = 2,
    };
}

// How many the system lets each user have; a tenth is left to whatever else watches.
std::int64_t watchLimit() {
    std::int64_t limit = 0;
    std::ifstream("/proc/sys/fs/inotify/max_user_watches") >> limit;
    return limit * 9 / 10;
}

Row watch(const Sizes& sizes) {
    const std::int64_t folders = std::min(sizes.watchedFolders, watchLimit());
    const std::string shortage =
        folders < sizes.watchedFolders
            ? fmt::format("; not {}, as fs.inotify.max_user_watches is too small for them", sizes.watchedFolders)
            : "";
    return {
        .name = "watch",
        .meaning =
            fmt::format("the watch of {} folders with a file each, until the last one stands{}", folders, shortage),
        .goal = {.wall = 1.3, .growthMiB = 80.0 * static_cast<double>(folders) / (1U << 20U)},
        .prepare = [folders](const WorkFolder& data) -> Row::NextArguments {
            return [tree = data.folders("watched", folders), folders](const std::string&) {
                return Row::Arguments{tree, std::to_string(folders)};
            };
        },
    };
}

// The process that makes them holds back where its watcher is late; a floor only counts the events.
Row events(const Sizes& sizes) {
    constexpr std::int64_t folders = 100;
    return {
        .name = "events",
        .meaning = fmt::format("{} writes and renames in {} watched folders, until the last one is told", sizes.changes,
                               folders),
        .goal = {},
        .prepare = [sizes](const WorkFolder& data) -> Row::NextArguments {
            return [tree = data.folders("watched", folders), sizes](const std::string&) {
                return Row::Arguments{tree, std::to_string(folders), std::to_string(sizes.changes)};
            };
        },
    };
}

Row window() {
    return {
        .name = "window",
        .meaning = "the program from its start to the first frame of its window; the floor shows a screen of fixed "
                   "words out of the same components, over no engine",
        .goal = {.wallMilliseconds = 200, .growthOverFloorMiB = 15},
        .prepare = [](const WorkFolder& data) -> Row::NextArguments {
            return [&data](const std::string&) { return Row::Arguments{data.emptyFolder("state")}; };
        },
        .isWholeProcess = true,
    };
}

} // namespace

std::vector<Row> allRows(const Sizes& sizes, const Programs& programs, const Interrupt& interrupt) {
    return {walk(sizes),
            unchanged("start", sizes, programs, interrupt),
            unchanged("rescan", sizes, programs, interrupt),
            digest(sizes),
            sync(sizes),
            upload(sizes),
            watch(sizes),
            events(sizes),
            window()};
}

} // namespace bench
