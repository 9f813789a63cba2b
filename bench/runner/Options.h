#pragma once

#include "runner/Row.h"

#include <span>
#include <string>
#include <vector>

namespace bench {

inline constexpr const char* usage = "./dev bench [--quick] [--rounds N] [--only NAME]... [--json]\n"
                                     "  --quick     a tenth of the work, three rounds\n"
                                     "  --rounds N  how often each program runs\n"
                                     "  --only      walk, rescan, digest, sync or upload; may be given more than once\n"
                                     "  --json      one JSON document instead of the table\n";

struct Options {
    Sizes sizes = fullSizes;
    std::vector<Row> rows = allRows();
    bool isJson = false;
    bool wantsHelp = false;

    // Throws std::invalid_argument in words for the user.
    [[nodiscard]] static Options read(std::span<const std::string> arguments);
};

} // namespace bench
