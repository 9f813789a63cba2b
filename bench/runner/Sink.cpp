#include "runner/Sink.h"

#include <fmt/format.h>

#include <stdexcept>

namespace bench {

Sink::Sink(const std::string& floorProgram, const Interrupt& interrupt) : program_({floorProgram, "sink"}, interrupt) {
    const std::string line = program_.readLine();
    url_ = "http://127.0.0.1:" + line.substr(line.rfind(' ') + 1);
}

void Sink::require(std::int64_t requests) {
    program_.terminate();
    const std::string line = program_.readLine();
    if (const std::string expected = fmt::format("requests {} connections 1", requests); line != expected) {
        throw std::runtime_error(fmt::format("the server saw {}, not {}", line, expected));
    }
}

} // namespace bench
