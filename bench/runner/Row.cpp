#include "runner/Row.h"

#include <fmt/format.h>

namespace bench {

namespace {

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
        .requests = 5 * sizes.newFiles + 1, // who is signed in,
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

} // namespace

std::vector<Row> allRows(const Sizes& sizes, const Programs& programs, const Interrupt& interrupt) {
    return {walk(sizes),
            unchanged("start", sizes, programs, interrupt),
            unchanged("rescan", sizes, programs, interrupt),
            digest(sizes),
            sync(sizes),
            upload(sizes)};
}

} // namespace bench
