#pragma once

#include "runner/Row.h"

#include <nlohmann/json_fwd.hpp>

#include <string>
#include <vector>

namespace bench {

// A first scan with the window open beside one without: how smooth the window stays, and how much of its speed the
// engine loses to it. In pairs, whose first one takes turns. The loss is the median of theirs, as two scans alike
// differ by a tenth and more; the frames are those of each.
class FirstScans {
public:
    FirstScans(const Sizes& sizes, const Programs& programs, const WorkFolder& data, const Interrupt& interrupt);

    [[nodiscard]] std::string table() const;
    [[nodiscard]] nlohmann::json json() const;

private:
    static constexpr int pairs = 3;

    struct Pair {
        double seconds = 0; // without the window
        double secondsWithWindow = 0;
        int frames = 0;
        double mostMilliseconds = 0; // of 99.9 % of all frames
        double longestMilliseconds = 0;

        [[nodiscard]] double loss() const { return 1 - seconds / secondsWithWindow; }
        [[nodiscard]] bool isSmooth() const { return mostMilliseconds < 32; }
    };

    [[nodiscard]] double loss() const;
    [[nodiscard]] bool isLossSmall() const { return loss() < 0.1; }

    std::int64_t files_;
    std::vector<Pair> pairs_;
};

} // namespace bench
