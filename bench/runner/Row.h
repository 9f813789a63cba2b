#pragma once

#include "runner/Sink.h"
#include "runner/WorkFolder.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace bench {

// How much of each kind of work a run does.
struct Sizes {
    std::int64_t treeFiles;
    std::int64_t newFiles;
    std::int64_t newFileBytes;
    std::int64_t largeBytes;
    int rounds;
};
inline constexpr Sizes fullSizes{200'000, 2'000, 4'096, std::int64_t{512} << 20U, 5};
inline constexpr Sizes quickSizes{20'000, 200, 4'096, std::int64_t{64} << 20U, 3};

// What a row has to work with.
struct Surroundings {
    const Sizes& sizes;
    const WorkFolder& data;
    const Interrupt& interrupt;
    std::string agentProgram;
    std::string floorProgram;
};

// What the agent may take: times what its floor takes.
struct Goal {
    double wall;
    std::optional<double> cpu;
    std::optional<double> growthMiB; // not a multiple
};

// One kind of work that is measured.
struct Row {
    using Arguments = std::vector<std::string>;
    // What a program is told for its next run; `url` is empty where no server is used.
    using NextArguments = std::function<Arguments(const std::string& url)>;

    std::string_view name; // what both programs call it
    std::function<std::string(const Sizes&)> meaning;
    Goal goal;
    // Makes what all runs work on.
    std::function<NextArguments(const Surroundings&)> prepare;
    // Where a server is used: how many requests it must have seen for each counted thing, or in all, on one connection.
    std::function<std::int64_t(std::int64_t count)> requests = nullptr;
};

[[nodiscard]] const std::vector<Row>& allRows();

} // namespace bench
