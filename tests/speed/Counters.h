#pragma once

#include <cstdint>

namespace veskline::testing {

// What the whole process has asked for so far, counted where it asks: by the program's own operator new, and by
// functions that stand before those of the C library. Exact, whatever else the machine does.
struct Counters {
    std::int64_t allocations = 0;
    // openat, getdents64 and the stat family, each opened folder counted twice since it is closed again.
    std::int64_t fileSystemCalls = 0;
    std::int64_t residentBytes = 0;

    [[nodiscard]] static Counters now();
    // What came on top since `earlier`.
    [[nodiscard]] Counters since(const Counters& earlier) const {
        return {.allocations = allocations - earlier.allocations,
                .fileSystemCalls = fileSystemCalls - earlier.fileSystemCalls,
                .residentBytes = residentBytes - earlier.residentBytes};
    }
};

} // namespace veskline::testing
