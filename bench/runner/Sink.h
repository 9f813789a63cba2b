#pragma once

#include "runner/Program.h"

#include <cstdint>
#include <string>

namespace bench {

// The server that stands for the hosted project in one run: it answers everything at once and keeps nothing.
class Sink {
public:
    struct Counts {
        std::int64_t requests = 0;
        std::int64_t connections = 0;
        std::int64_t bodyBytes = 0;
    };

    Sink(const std::string& floorProgram, const Interrupt& interrupt);

    [[nodiscard]] const std::string& url() const { return url_; }
    // Ends it. Whatever was sent has been answered, so it is in the counts.
    [[nodiscard]] Counts stop();

private:
    Program program_;
    std::string url_;
};

} // namespace bench
