#pragma once

#include "measure/Kinds.h"

// The least program for each kind of work: the same result by the same system calls, straight on the libraries, with no
// rule, no recovery and no care. The agent is measured against these; veskline-bench-work takes the same arguments.
//
// Where a small file is given it is worked on first, unmeasured: what memory grows by then is due to the large one.

namespace floors {

using bench::Arguments;

bench::Sample walk(Arguments arguments);
bench::Sample rescan(Arguments arguments);
bench::Sample digest(Arguments arguments);
bench::Sample sync(Arguments arguments);
bench::Sample upload(Arguments arguments);
bench::Sample watch(Arguments arguments);
bench::Sample events(Arguments arguments);

// Answers every request on a port of loopback, which it prints; on SIGTERM it prints what it saw, and ends.
bench::Sample sink(Arguments arguments);

} // namespace floors
