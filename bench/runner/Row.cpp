#include "runner/Row.h"

#include <fmt/format.h>

namespace bench {

namespace {

constexpr std::int64_t smallBytes = std::int64_t{1} << 20U;

Row walk() {
    return {
        .name = "walk",
        .meaning =
            [](const Sizes& sizes) {
                return fmt::format(
                    "{} files, 20 a folder, sorted out by every rule of the selection; the floor knows the "
                    "extensions alone",
                    sizes.treeFiles);
            },
        .goal = {.wall = 1.3, .cpu = {}, .growthMiB = {}},
        .prepare = [](const Surroundings& with) -> Row::NextArguments {
            return [tree = with.data.tree("tree", with.sizes.treeFiles)](const std::string&) {
                return Row::Arguments{tree};
            };
        },
    };
}

Row rescan() {
    return {
        .name = "rescan",
        .meaning =
            [](const Sizes& sizes) {
                return fmt::format(
                    "a start over {} files that have not changed: list, read the state rows, look at each",
                    sizes.treeFiles);
            },
        .goal = {.wall = 1.3, .cpu = {}, .growthMiB = 30},
        .prepare = [](const Surroundings& with) -> Row::NextArguments {
            const std::string tree = with.data.tree("tree", with.sizes.treeFiles);
            const std::string state = with.data.emptyFolder("state");
            Program({with.agentProgram, "remember", tree, state}, with.interrupt).finish();
            return [tree, state](const std::string&) { return Row::Arguments{tree, state}; };
        },
    };
}

Row digest() {
    return {
        .name = "digest",
        .meaning =
            [](const Sizes& sizes) {
                return fmt::format("SHA-256 of one file of {} MiB that lies in memory", sizes.largeBytes >> 20U);
            },
        .goal = {.wall = 1 / 0.95, .cpu = {}, .growthMiB = 1},
        .prepare = [](const Surroundings& with) -> Row::NextArguments {
            const std::string small = with.data.file("small.pdf", smallBytes);
            const std::string large = with.data.file("large.pdf", with.sizes.largeBytes);
            return [small, large](const std::string&) { return Row::Arguments{small, large}; };
        },
    };
}

Row sync() {
    return {
        .name = "sync",
        .meaning =
            [](const Sizes& sizes) {
                return fmt::format(
                    "the first sync of {} files of {} bytes without a pause: digest, 5 requests, state row",
                    sizes.newFiles, sizes.newFileBytes);
            },
        .goal = {.wall = 1.25, .cpu = 2.0, .growthMiB = {}},
        .prepare = [](const Surroundings& with) -> Row::NextArguments {
            const std::string folder = with.data.documents("documents", with.sizes.newFiles, with.sizes.newFileBytes);
            return [folder, &data = with.data](const std::string& url) {
                return Row::Arguments{url, folder, data.emptyFolder("state")};
            };
        },
        .requests = [](std::int64_t files) { return files * 5; },
    };
}

Row upload() {
    return {
        .name = "upload",
        .meaning =
            [](const Sizes& sizes) {
                return fmt::format("one file of {} MiB in one request, after a small one", sizes.largeBytes >> 20U);
            },
        .goal = {.wall = 1 / 0.95, .cpu = {}, .growthMiB = 1},
        .prepare = [](const Surroundings& with) -> Row::NextArguments {
            const std::string small = with.data.file("small.pdf", smallBytes);
            const std::string large = with.data.file("large.pdf", with.sizes.largeBytes);
            return [small, large, &data = with.data](const std::string& url) {
                return Row::Arguments{url, small, large, data.emptyFolder("state")};
            };
        },
        .requests = [](std::int64_t) { return std::int64_t{2}; },
    };
}

} // namespace

const std::vector<Row>& allRows() {
    static const std::vector<Row> rows{walk(), rescan(), digest(), sync(), upload()};
    return rows;
}

} // namespace bench
