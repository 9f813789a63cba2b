#pragma once

#include "runner/Row.h"

#include <nlohmann/json_fwd.hpp>

#include <cstdint>
#include <string>
#include <vector>

namespace bench {

// What the agent's work costs in trees of ever more files: it is to be linear, a file in a million as dear as one in a
// thousand.
class Scale {
public:
    // One size; medians of the rounds.
    struct Point {
        std::int64_t files = 0;
        double milliseconds = 0;
        double growthMiB = 0;

        [[nodiscard]] double microsecondsAFile() const { return milliseconds * 1000 / static_cast<double>(files); }
        [[nodiscard]] double bytesAFile() const { return growthMiB * (1U << 20U) / static_cast<double>(files); }
    };
    struct Line {
        std::string name;
        std::vector<Point> points;
    };

    // Throws as compare() does.
    Scale(const Sizes& largest, const Programs& programs, int rounds, const Interrupt& interrupt);

    [[nodiscard]] const std::vector<Line>& lines() const noexcept { return lines_; }
    [[nodiscard]] std::string table() const;
    [[nodiscard]] nlohmann::json json() const;

private:
    void measure(std::int64_t files, const Programs& programs, int rounds, const Interrupt& interrupt);

    std::vector<Line> lines_;
};

} // namespace bench
