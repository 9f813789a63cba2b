#include "measure/Stopwatch.h"

#include <sys/resource.h>

#include <algorithm>
#include <fstream>
#include <string>
#include <string_view>

namespace bench {

namespace {

std::chrono::microseconds spent(const timeval& time) {
    return std::chrono::seconds(time.tv_sec) + std::chrono::microseconds(time.tv_usec);
}

std::chrono::microseconds cpuSoFar() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return spent(usage.ru_utime) + spent(usage.ru_stime);
}

// A line of /proc/self/status, such as "VmHWM:     5120 kB" (proc_pid_status(5)).
std::int64_t statusKiB(std::string_view name) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with(name)) {
            return std::stoll(line.substr(name.size()));
        }
    }
    return 0;
}

// From here on the peak is that of the work, not of what came before (clear_refs in proc_pid_clear_refs(5)). Where the
// kernel does not let us, the peak of the start-up counts too.
void forgetPeak() {
    std::ofstream("/proc/self/clear_refs") << '5';
}

} // namespace

Stopwatch::Stopwatch() {
    forgetPeak();
    residentKiB_ = statusKiB("VmRSS:");
    cpu_ = cpuSoFar();
    start_ = std::chrono::steady_clock::now();
}

Sample Stopwatch::stop(std::int64_t count) const {
    const auto wall = std::chrono::steady_clock::now() - start_;
    const auto cpu = cpuSoFar() - cpu_;
    return Sample{
        .wall = std::chrono::duration_cast<std::chrono::microseconds>(wall),
        .cpu = cpu,
        .growthKiB = std::max<std::int64_t>(0, statusKiB("VmHWM:") - residentKiB_),
        .count = count,
    };
}

} // namespace bench
