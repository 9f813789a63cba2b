#pragma once

#include "runner/Row.h"

#include <nlohmann/json_fwd.hpp>

#include <string>
#include <vector>

namespace bench {

// What the program costs while nothing happens: signed in, on watch, with its window and without. Both are one program,
// in which Qt Quick is loaded also where it makes no window. A minute of it has one poll of the hosted status.
class Idle {
public:
    Idle(const Sizes& sizes, const Programs& programs, const WorkFolder& data, const Interrupt& interrupt);

    [[nodiscard]] std::string table() const;
    [[nodiscard]] nlohmann::json json() const;

private:
    struct Watch {
        std::string how;
        long wakeUps = 0; // of all threads: proc(5), voluntary_ctxt_switches
        double cpuMilliseconds = 0;
        double residentMiB = 0;
    };
    [[nodiscard]] std::string meaning() const;

    std::chrono::milliseconds duration_;
    std::vector<Watch> watches_;
};

} // namespace bench
