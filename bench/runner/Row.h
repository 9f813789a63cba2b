#pragma once

#include "runner/Program.h"
#include "runner/WorkFolder.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace bench {

// How much of each kind of work a run does.
struct Sizes {
    std::int64_t treeFiles = 200'000;
    std::int64_t newFiles = 2'000;
    std::int64_t newFileBytes = 4'096;
    std::int64_t smallBytes = std::int64_t{1} << 20U;
    std::int64_t largeBytes = std::int64_t{512} << 20U;
    std::int64_t watchedFolders = 100'000;
    std::int64_t changes = 200'000;
    std::int64_t scaleFiles = 1'000'000;
    std::int64_t scanFiles = 100'000;
    std::int64_t scanFileBytes = 1'000;
    std::chrono::milliseconds reports{5'000};
    std::chrono::milliseconds idle{60'000};
};
inline constexpr Sizes quickSizes{.treeFiles = 20'000,
                                  .newFiles = 200,
                                  .largeBytes = std::int64_t{64} << 20U,
                                  .watchedFolders = 10'000,
                                  .changes = 20'000,
                                  .scaleFiles = 100'000,
                                  .scanFiles = 10'000,
                                  .reports = std::chrono::milliseconds(500),
                                  .idle = std::chrono::milliseconds(6'000)};

struct Programs {
    std::string agent;
    std::string floor;
    std::string window = {}; // the agent with its window
    std::string windowFloor = {};
};

// What the agent may take: times what its floor takes, where not said otherwise. Where nothing was promised there is
// none.
struct Goal {
    std::optional<double> wall = std::nullopt;
    std::optional<double> cpu = std::nullopt;
    std::optional<double> wallMilliseconds = std::nullopt; // not a multiple
    std::optional<double> growthMiB = std::nullopt;        // not a multiple
    std::optional<double> growthOverFloorMiB = std::nullopt;
};

// Another program that does the same kind of work, with a command of its own. It counts whole, from its start to its
// end, and is left out where it is not installed.
struct Peer {
    std::string name; // that of its executable
    // Makes what it needs beside the tree of the row, and gives its command.
    std::function<std::vector<std::string>(const WorkFolder& data, const std::string& tree)> prepare;
    double timesFaster = 0; // that the agent is to be; nothing was promised where it is zero
};

// One kind of work that is measured.
struct Row {
    using Arguments = std::vector<std::string>;
    // What a program is told for its next run; `url` is empty where no server is used.
    using NextArguments = std::function<Arguments(const std::string& url)>;

    std::string name;    // what both programs call it
    std::string meaning; // one line
    Goal goal;
    // Makes what all runs work on.
    std::function<NextArguments(const WorkFolder& data)> prepare;
    // Where a server is used: how many requests it must see in each run, all on one connection.
    std::optional<std::int64_t> requests = std::nullopt;
    // Whether a process counts whole, from its start to its end, as the system tells: its peak is what it holds in all.
    bool isWholeProcess = false;
    std::vector<Peer> peers = {};
};

[[nodiscard]] std::vector<Row> allRows(const Sizes& sizes, const Programs& programs, const Interrupt& interrupt);

} // namespace bench
