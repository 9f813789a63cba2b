#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

namespace veskline {

// Changed paths on their way out, each once, until the latency after the first of them is over. So many that their
// text would matter give way to the watched folders alone, which say the same to whoever has to look.
class PathBatch {
public:
    using Instant = std::chrono::steady_clock::time_point;

    PathBatch(std::vector<std::string> roots, std::chrono::nanoseconds latency, std::size_t mostPaths = 50'000)
        : roots_(std::move(roots)), latency_(latency), mostPaths_(mostPaths) {}

    void add(std::string path, Instant now);
    // When the batch is to be delivered; none while it is empty.
    [[nodiscard]] std::optional<Instant> due() const noexcept { return due_; }
    // Keeps it for one more latency: the one before is not consumed yet.
    void postpone(Instant now) { due_ = now + latency_; }
    // Empties it.
    [[nodiscard]] std::vector<std::string> take();

private:
    std::vector<std::string> roots_;
    std::chrono::nanoseconds latency_;
    std::size_t mostPaths_;
    std::unordered_set<std::string> paths_;
    std::optional<Instant> due_;
    bool isOverfull_ = false;
};

} // namespace veskline
