#pragma once

#include "runner/Program.h"

#include <cstdint>
#include <string>

namespace bench {

// The server that stands for the hosted project in one run: it answers everything at once and keeps nothing.
class Sink {
public:
    Sink(const std::string& floorProgram, const Interrupt& interrupt);

    [[nodiscard]] const std::string& url() const { return url_; }

    // Ends it. Throws std::runtime_error where it has not seen just so many requests, or more than one connection.
    void require(std::int64_t requests);

private:
    Program program_;
    std::string url_;
};

} // namespace bench
