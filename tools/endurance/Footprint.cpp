#include "endurance/Footprint.h"

#include <fmt/format.h>
#include <malloc.h>
#include <sys/socket.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace veskline::endurance {

namespace {

std::int64_t threads() {
    const std::filesystem::directory_iterator tasks("/proc/self/task");
    return std::distance(begin(tasks), end(tasks));
}

bool isConnection(int descriptor) {
    sockaddr_storage peer{};
    socklen_t size = sizeof peer;
    return getpeername(descriptor, reinterpret_cast<sockaddr*>(&peer), &size) == 0 && peer.ss_family == AF_INET;
}

void countDescriptors(Footprint& footprint) {
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        const int descriptor = std::stoi(entry.path().filename());
        ++(isConnection(descriptor) ? footprint.connections : footprint.descriptors);
    }
}

double residentKiB() {
    std::ifstream file("/proc/self/smaps_rollup");
    double kibibytes = 0;
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with("Rss:")) {
            kibibytes = std::stod(line.substr(4));
        }
    }
    return kibibytes;
}

} // namespace

Footprint Footprint::now() {
    const struct mallinfo2 heap = mallinfo2();
    Footprint footprint{.residentMiB = residentKiB() / 1024,
                        .heapMiB = static_cast<double>(heap.uordblks + heap.hblkhd) / (1U << 20U),
                        .threads = endurance::threads()};
    countDescriptors(footprint);
    return footprint;
}

void Footprints::add(int minute, const Footprint& footprint) {
    if (minute >= settledAfterMinutes) {
        settled_.push_back(footprint);
    }
}

double Footprints::residentSpread() const {
    if (settled_.empty()) {
        return 0;
    }
    const auto [least, most] = std::ranges::minmax(settled_, {}, &Footprint::residentMiB);
    return most.residentMiB - least.residentMiB;
}

std::vector<std::string> Footprints::broken() const {
    std::vector<std::string> words;
    if (residentSpread() > growthMiB) {
        words.push_back(fmt::format("resident memory moved by {:.1f} MiB after the first hour", residentSpread()));
    }
    const auto requireConstant = [&](std::int64_t Footprint::* count, const char* name) {
        if (!settled_.empty()) {
            const auto [least, most] = std::ranges::minmax(settled_, {}, count);
            if (least.*count != most.*count) {
                words.push_back(fmt::format("{} went from {} to {}", name, least.*count, most.*count));
            }
        }
    };
    requireConstant(&Footprint::descriptors, "descriptors");
    requireConstant(&Footprint::threads, "threads");
    if (std::ranges::any_of(settled_, [](const Footprint& each) { return each.connections > mostConnections; })) {
        words.push_back(fmt::format("more than {} connections", mostConnections));
    }
    return words;
}

} // namespace veskline::endurance
