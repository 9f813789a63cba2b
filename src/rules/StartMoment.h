#pragma once

#include <chrono>
#include <sys/stat.h>

namespace veskline {

// The moment from which on changes count, compared with the times that files carry. It may take a change for later
// than it was, never for earlier, as far as the file system takes its times from this machine's clock.
class StartMoment {
public:
    [[nodiscard]] static StartMoment now();

    // Whether a change that left this time behind (statx(2)) may have happened since.
    [[nodiscard]] bool mayPrecede(const struct statx_timestamp& change) const;
    // The clock was set back since then: a change may carry an earlier time than this moment's.
    [[nodiscard]] bool isOvertakenByClock() const;

private:
    std::chrono::nanoseconds wallTime_{};
    std::chrono::nanoseconds uptime_{};
};

// The rule behind it. File systems cut the time off: FAT to two seconds, ext3 to one, exFAT to ten milliseconds. How
// coarse one is shows in the zeros at the end. A time ahead of `now` is no change of late but a clock that was wrong
// once, and would otherwise count for ever.
[[nodiscard]] bool mayHaveChangedSince(std::chrono::nanoseconds start, std::chrono::nanoseconds change,
                                       std::chrono::nanoseconds now);

// Whether the files of an open folder carry the times of another machine or program: those of network file systems and
// FUSE do.
[[nodiscard]] bool hasForeignClock(int folder);

} // namespace veskline
