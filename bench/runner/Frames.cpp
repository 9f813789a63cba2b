#include "runner/Frames.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <sstream>

namespace bench {

bool Frames::Round::isGood() const {
    return mostMilliseconds < 32 && lastLineMilliseconds < 100 && microsecondsAReport < 1;
}

Frames::Frames(const Sizes& sizes, const std::string& program, const WorkFolder& data, const Interrupt& interrupt)
    : duration_(sizes.reports) {
    for (int i = 0; i < rounds; ++i) {
        Program run({program, "frames", data.emptyFolder("state"), std::to_string(reportsASecond),
                     std::to_string(duration_.count())},
                    interrupt);
        std::istringstream line(run.readLine());
        Round round;
        double nanoseconds = 0;
        line >> round.count >> round.mostMilliseconds >> round.longestMilliseconds >> round.lastLineMilliseconds >>
            nanoseconds;
        round.microsecondsAReport = nanoseconds / 1000;
        run.finish();
        rounds_.push_back(round);
    }
}

std::string Frames::meaning() const {
    return fmt::format("{} log lines and as many progress reports a second for {} s, with the console in sight",
                       reportsASecond, std::chrono::duration<double>(duration_).count());
}

std::string Frames::table() const {
    std::string text = "frames: " + meaning() + "\n";
    for (const Round& round : rounds_) {
        text += fmt::format("  {} frames, 99.9 % under {:.1f} ms, the longest {:.1f} ms; the last line after {} ms; "
                            "{:.2f} us a report  {}\n",
                            round.count, round.mostMilliseconds, round.longestMilliseconds, round.lastLineMilliseconds,
                            round.microsecondsAReport, round.isGood() ? "met" : "MISSED");
    }
    return text;
}

nlohmann::json Frames::json() const {
    nlohmann::json all = nlohmann::json::array();
    for (const Round& round : rounds_) {
        all.push_back({{"frames", round.count},
                       {"most_ms", round.mostMilliseconds},
                       {"longest_ms", round.longestMilliseconds},
                       {"last_line_ms", round.lastLineMilliseconds},
                       {"us_a_report", round.microsecondsAReport},
                       {"met", round.isGood()}});
    }
    return {{"name", "frames"}, {"meaning", meaning()}, {"rounds", all}};
}

} // namespace bench
