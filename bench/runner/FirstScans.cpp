#include "runner/FirstScans.h"

#include "runner/Comparison.h"
#include "runner/Sink.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <iterator>
#include <sstream>
#include <utility>

namespace bench {

FirstScans::FirstScans(const Sizes& sizes, const Programs& programs, const WorkFolder& data, const Interrupt& interrupt)
    : files_(sizes.scanFiles) {
    const std::string documents = data.documents("documents", files_, sizes.scanFileBytes);
    const auto run = [&](const std::string& how) {
        const Sink sink(programs.floor, interrupt);
        Program program({programs.window, "scan", data.emptyFolder("state"), documents, sink.url(), how}, interrupt);
        std::istringstream line(program.readLine());
        program.finish();
        return line;
    };
    for (int i = 0; i < pairs; ++i) {
        Pair pair;
        for (const bool hasWindow : {i % 2 == 0, i % 2 != 0}) {
            if (hasWindow) {
                run("shown") >> pair.secondsWithWindow >> pair.frames >> pair.mostMilliseconds >>
                    pair.longestMilliseconds;
            } else {
                run("hidden") >> pair.seconds;
            }
        }
        pairs_.push_back(pair);
    }
}

std::string FirstScans::table() const {
    std::string text = fmt::format("scan: the first scan of {} files, with the window open and without\n", files_);
    for (const Pair& pair : pairs_) {
        text += fmt::format("  {:.1f} s without, {:.1f} s with it: {:.1f} % lost; {} frames, 99.9 % under {:.1f} ms, "
                            "the longest {:.1f} ms  {}\n",
                            pair.seconds, pair.secondsWithWindow, pair.loss() * 100, pair.frames, pair.mostMilliseconds,
                            pair.longestMilliseconds, pair.isSmooth() ? "met" : "MISSED");
    }
    return text + fmt::format("  {:.1f} % lost in the median  {}\n", loss() * 100, isLossSmall() ? "met" : "MISSED");
}

double FirstScans::loss() const {
    std::vector<double> losses;
    std::ranges::transform(pairs_, std::back_inserter(losses), &Pair::loss);
    return median(std::move(losses));
}

nlohmann::json FirstScans::json() const {
    nlohmann::json all = nlohmann::json::array();
    for (const Pair& pair : pairs_) {
        all.push_back({{"seconds", pair.seconds},
                       {"seconds_with_window", pair.secondsWithWindow},
                       {"frames", pair.frames},
                       {"most_ms", pair.mostMilliseconds},
                       {"longest_ms", pair.longestMilliseconds},
                       {"met", pair.isSmooth()}});
    }
    return {{"name", "scan"}, {"files", files_}, {"pairs", all}, {"loss", loss()}, {"met", isLossSmall()}};
}

} // namespace bench
