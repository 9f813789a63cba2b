#include "measure/Sample.h"

#include <cinttypes>
#include <cstdio>
#include <string>

namespace bench {

namespace {

constexpr const char* mark = "sample ";

} // namespace

void printSample(const Sample& sample) {
    std::printf("%swall_us %" PRId64 " cpu_us %" PRId64 " growth_kib %" PRId64 " count %" PRId64 "\n", mark,
                std::int64_t{sample.wall.count()}, std::int64_t{sample.cpu.count()}, sample.growthKiB, sample.count);
    std::fflush(stdout);
}

std::optional<Sample> findSample(std::string_view output) {
    const std::size_t start = output.rfind(mark);
    if (start == std::string_view::npos) {
        return std::nullopt;
    }
    std::int64_t wall = 0;
    std::int64_t cpu = 0;
    Sample sample;
    const std::string line(output.substr(start));
    const int found =
        std::sscanf(line.c_str(), "sample wall_us %" SCNd64 " cpu_us %" SCNd64 " growth_kib %" SCNd64 " count %" SCNd64,
                    &wall, &cpu, &sample.growthKiB, &sample.count);
    if (found != 4) {
        return std::nullopt;
    }
    sample.wall = std::chrono::microseconds(wall);
    sample.cpu = std::chrono::microseconds(cpu);
    return sample;
}

} // namespace bench
