#pragma once

#include "measure/Sample.h"

#include <span>
#include <string>

// The least program for each kind of work: the same result by the same system calls, straight on the libraries, with no
// rule, no recovery and no care. The agent is measured against these; veskline-bench-work takes the same arguments.
//
// Where a small file is given it is worked on first, unmeasured: what memory grows by then is due to the large one.

namespace floors {

using Arguments = std::span<const std::string>;

bench::Sample walk(Arguments arguments);   // TREE
bench::Sample rescan(Arguments arguments); // TREE STATE-FOLDER
bench::Sample digest(Arguments arguments); // SMALL-FILE FILE
bench::Sample sync(Arguments arguments);   // URL FOLDER STATE-FOLDER
bench::Sample upload(Arguments arguments); // URL SMALL-FILE FILE STATE-FOLDER

// SINK: answers every request on a port of loopback, which it prints; on SIGTERM it prints what it saw, and ends.
[[noreturn]] void runSink();

} // namespace floors
