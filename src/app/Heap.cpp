#include "app/Heap.h"

#include <malloc.h>

namespace veskline {

namespace {

constexpr int mostArenas = 2;
constexpr int largeBytes = 128 << 10; // what is as large is mapped by itself, and unmapped when it is freed

} // namespace

// mallopt(3): setting either threshold keeps both from growing with what is freed.
Heap::Heap() {
    mallopt(M_ARENA_MAX, mostArenas);
    mallopt(M_MMAP_THRESHOLD, largeBytes);
    mallopt(M_TRIM_THRESHOLD, largeBytes);
}

} // namespace veskline
