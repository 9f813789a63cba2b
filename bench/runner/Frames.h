#pragma once

#include "runner/Row.h"

#include <nlohmann/json_fwd.hpp>

#include <string>
#include <vector>

namespace bench {

// How smooth the window stays while the engine reports as fast as it ever does. There is no floor: what a user sees
// is measured, three times over, and each time has to hold.
class Frames {
public:
    static constexpr int reportsASecond = 100'000; // log lines, and as many progress reports
    static constexpr int rounds = 3;

    // Runs `program`. Throws std::runtime_error where it fails, Interrupted.
    Frames(const Sizes& sizes, const std::string& program, const WorkFolder& data, const Interrupt& interrupt);

    [[nodiscard]] std::string meaning() const;
    [[nodiscard]] std::string table() const;
    [[nodiscard]] nlohmann::json json() const;

private:
    struct Round {
        int count = 0;
        double mostMilliseconds = 0;    // of 99.9 % of all frames
        double longestMilliseconds = 0; // of all
        int lastLineMilliseconds = 0;   // from the last report to its row in the console
        double microsecondsAReport = 0; // of the main thread
        [[nodiscard]] bool isGood() const;
    };
    std::chrono::milliseconds duration_;
    std::vector<Round> rounds_;
};

} // namespace bench
