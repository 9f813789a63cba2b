#pragma once

#include <cstdint>

namespace veskline::testing {

// What the whole process has asked for so far, counted where it asks: in operator new, and in functions that stand
// before those of the C library. The counts do not depend on the machine, nor on what else it does.
struct Counters {
    std::int64_t allocations = 0;
    // openat, getdents64 and the stat family, each opened folder counted twice since it is closed again.
    std::int64_t fileSystemCalls = 0;
    // Held at this moment: by operator new, and in pages that the program mapped, used or not.
    std::int64_t heldBytes = 0;

    [[nodiscard]] static Counters now();
    // What came on top since `earlier`.
    [[nodiscard]] Counters since(const Counters& earlier) const {
        return {.allocations = allocations - earlier.allocations,
                .fileSystemCalls = fileSystemCalls - earlier.fileSystemCalls,
                .heldBytes = heldBytes - earlier.heldBytes};
    }
};

} // namespace veskline::testing
