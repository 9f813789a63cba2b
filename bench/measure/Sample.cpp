#include "measure/Sample.h"

#include <sys/resource.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <string>

namespace bench {

namespace {

constexpr const char* form = "sample: wall_us %ld cpu_us %ld growth_kib %ld count %ld\n";

std::chrono::microseconds cpuSoFar() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return std::chrono::seconds(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           std::chrono::microseconds(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec);
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

// From here on the peak is that of the work, not of what came before (proc_pid_clear_refs(5)). Where the kernel does
// not let us, the peak of the start-up counts too.
void forgetPeak() {
    std::ofstream("/proc/self/clear_refs") << '5';
}

} // namespace

void printSample(const Sample& sample) {
    std::printf(form, long{sample.wall.count()}, long{sample.cpu.count()}, long{sample.growthKiB}, long{sample.count});
    std::fflush(stdout);
}

std::optional<Sample> readSample(std::string_view output) {
    long wall = 0, cpu = 0, growth = 0, count = 0;
    const std::string line(output.substr(std::min(output.size(), output.rfind("sample:"))));
    if (std::sscanf(line.c_str(), form, &wall, &cpu, &growth, &count) != 4) {
        return std::nullopt;
    }
    return Sample{std::chrono::microseconds(wall), std::chrono::microseconds(cpu), growth, count};
}

Stopwatch::Stopwatch() {
    forgetPeak();
    residentKiB_ = statusKiB("VmRSS:");
    cpu_ = cpuSoFar();
    start_ = std::chrono::steady_clock::now();
}

Sample Stopwatch::stop(std::int64_t count) const {
    const auto wall = std::chrono::steady_clock::now() - start_;
    const auto cpu = cpuSoFar() - cpu_;
    return {.wall = std::chrono::duration_cast<std::chrono::microseconds>(wall),
            .cpu = cpu,
            .growthKiB = std::max<std::int64_t>(0, statusKiB("VmHWM:") - residentKiB_),
            .count = count};
}

} // namespace bench
