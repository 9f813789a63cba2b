#include "runner/Sink.h"

#include <cinttypes>
#include <cstdio>

namespace bench {

Sink::Sink(const std::string& floorProgram, const Interrupt& interrupt) : program_({floorProgram, "sink"}, interrupt) {
    const std::string line = program_.readLine();
    url_ = "http://127.0.0.1:" + line.substr(line.rfind(' ') + 1);
}

Sink::Counts Sink::stop() {
    program_.terminate();
    const std::string line = program_.readLine();
    Counts counts;
    std::sscanf(line.c_str(), "requests %" SCNd64 " connections %" SCNd64 " body %" SCNd64, &counts.requests,
                &counts.connections, &counts.bodyBytes);
    return counts;
}

} // namespace bench
