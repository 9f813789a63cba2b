#include "rules/StartMoment.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <ctime>
#include <linux/magic.h>
#include <sys/statfs.h>

namespace veskline {

namespace {

using namespace std::chrono_literals;
using std::chrono::nanoseconds;

// How far apart two readings of clocks may lie where the thread was interrupted between them.
constexpr nanoseconds interruption = 20ms;

// Those that <linux/magic.h> does not name stand as numbers, from the kernel's sources.
constexpr std::array<std::uint32_t, 11> foreignTypes{
    NFS_SUPER_MAGIC, SMB_SUPER_MAGIC, CIFS_SUPER_MAGIC, SMB2_SUPER_MAGIC, CODA_SUPER_MAGIC,
    AFS_SUPER_MAGIC, AFS_FS_MAGIC,    V9FS_MAGIC,       FUSE_SUPER_MAGIC, CEPH_SUPER_MAGIC,
    0x0BD00BD0, // lustre
};

nanoseconds read(clockid_t clock) {
    struct timespec time{};
    ::clock_gettime(clock, &time);
    return std::chrono::seconds(time.tv_sec) + nanoseconds(time.tv_nsec);
}

// The clock of file times: it moves with the timer's ticks, a few milliseconds behind the exact one.
nanoseconds fileClock() {
    return read(CLOCK_REALTIME_COARSE);
}

nanoseconds grainOf(nanoseconds time) {
    const nanoseconds fraction = time % 1s;
    if (fraction == 0ns) {
        return 2s;
    }
    for (const nanoseconds grain : {nanoseconds(10ms), nanoseconds(1us), nanoseconds(100ns)}) {
        if (fraction % grain == 0ns) {
            return grain;
        }
    }
    return 1ns;
}

} // namespace

StartMoment StartMoment::now() {
    StartMoment moment;
    moment.wallTime_ = fileClock();
    moment.uptime_ = read(CLOCK_MONOTONIC);
    return moment;
}

bool StartMoment::mayPrecede(const struct statx_timestamp& change) const {
    return mayHaveChangedSince(wallTime_, std::chrono::seconds(change.tv_sec) + nanoseconds(change.tv_nsec),
                               fileClock());
}

bool StartMoment::isOvertakenByClock() const {
    const nanoseconds uptime = read(CLOCK_MONOTONIC);
    return fileClock() - wallTime_ < uptime - uptime_ - interruption;
}

bool mayHaveChangedSince(nanoseconds start, nanoseconds change, nanoseconds now) {
    return change + grainOf(change) > start && change <= now + 2s;
}

bool hasForeignClock(int folder) {
    struct statfs found{};
    return ::fstatfs(folder, &found) == 0 &&
           std::ranges::find(foreignTypes, static_cast<std::uint32_t>(found.f_type)) != foreignTypes.end();
}

} // namespace veskline
