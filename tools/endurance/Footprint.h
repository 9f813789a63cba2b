#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace veskline::endurance {

// What this process holds of the machine at one moment.
struct Footprint {
    double residentMiB = 0;       // proc(5), /proc/pid/smaps_rollup: Rss
    double heapMiB = 0;           // handed out by malloc (mallinfo(3), uordblks and hblkhd)
    std::int64_t descriptors = 0; // without those of connections
    std::int64_t connections = 0; // to the service, kept for the next request
    std::int64_t threads = 0;

    [[nodiscard]] static Footprint now();
};

// Footprints over the simulated time, and what is promised of them.
class Footprints {
public:
    static constexpr int settledAfterMinutes = 60;
    static constexpr double growthMiB = 2;
    // Two reads of the status at once, of five questions each, and a file on its way.
    static constexpr std::int64_t mostConnections = 11;

    void add(int minute, const Footprint& footprint);

    // How far the samples after the first hour lie apart.
    [[nodiscard]] double residentSpread() const;
    // What they break, in words; empty where all is as promised.
    [[nodiscard]] std::vector<std::string> broken() const;

private:
    std::vector<Footprint> settled_;
};

} // namespace veskline::endurance
