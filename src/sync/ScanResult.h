#pragma once

#include <cstdint>

namespace veskline {

// What became of one file of a scan. The scan's counters bear the same names.
enum class ScanResult : std::uint8_t { uploaded, skipped, deleted, failed };

// How many files of one scan ended in each way.
struct ScanCounters {
    std::int64_t uploaded = 0;
    std::int64_t skipped = 0;
    std::int64_t deleted = 0;
    std::int64_t failed = 0;

    void count(ScanResult result) noexcept {
        switch (result) {
        case ScanResult::uploaded:
            ++uploaded;
            break;
        case ScanResult::skipped:
            ++skipped;
            break;
        case ScanResult::deleted:
            ++deleted;
            break;
        case ScanResult::failed:
            ++failed;
            break;
        }
    }
    friend bool operator==(const ScanCounters&, const ScanCounters&) = default;
};

} // namespace veskline
