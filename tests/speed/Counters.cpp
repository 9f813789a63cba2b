#include "speed/Counters.h"

#include <atomic>
#include <cstdarg>
#include <cstdlib>
#include <malloc.h>
#include <new>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

std::atomic<std::int64_t> allocations = 0;
std::atomic<std::int64_t> fileSystemCalls = 0;
std::atomic<std::int64_t> heldBytes = 0;

constexpr int emptyPath = 0x1000; // AT_EMPTY_PATH, whose header declares what is defined here

void* mapped(long result, std::int64_t bytes) {
    heldBytes += result == -1 ? 0 : bytes;
    return reinterpret_cast<void*>(result); // -1 is MAP_FAILED
}

long counted(std::int64_t calls, long result) {
    fileSystemCalls += calls;
    return result;
}

} // namespace

void* operator new(std::size_t bytes) {
    ++allocations;
    void* const memory = std::malloc(bytes);
    heldBytes += static_cast<std::int64_t>(malloc_usable_size(memory));
    return memory != nullptr ? memory : throw std::bad_alloc();
}
void operator delete(void* memory) noexcept {
    heldBytes -= static_cast<std::int64_t>(malloc_usable_size(memory));
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    operator delete(memory);
}

extern "C" {

int openat(int folder, const char* name, int flags, ...) {
    va_list more;
    va_start(more, flags);
    const unsigned mode = va_arg(more, unsigned); // has no meaning, and is not looked at, where no file is made
    va_end(more);
    return static_cast<int>(counted(2, syscall(SYS_openat, folder, name, flags, mode)));
}
ssize_t getdents64(int folder, void* buffer, std::size_t bytes) {
    return counted(1, syscall(SYS_getdents64, folder, buffer, bytes));
}
int fstatat(int folder, const char* name, void* answer, int flags) {
    return static_cast<int>(counted(1, syscall(SYS_newfstatat, folder, name, answer, flags)));
}
int fstat(int file, void* answer) {
    return static_cast<int>(counted(1, syscall(SYS_newfstatat, file, "", answer, emptyPath)));
}
int statx(int folder, const char* name, int flags, unsigned mask, void* answer) {
    return static_cast<int>(counted(1, syscall(SYS_statx, folder, name, flags, mask, answer)));
}
void* mmap(void* place, std::size_t bytes, int protection, int flags, int file, off_t offset) noexcept {
    const long result = syscall(SYS_mmap, place, bytes, protection, flags, file, offset);
    return mapped(result, static_cast<std::int64_t>(bytes));
}
void* mremap(void* pages, std::size_t before, std::size_t after, int flags, ...) noexcept {
    const long result = syscall(SYS_mremap, pages, before, after, flags, nullptr);
    return mapped(result, static_cast<std::int64_t>(after) - static_cast<std::int64_t>(before));
}
int munmap(void* pages, std::size_t bytes) noexcept {
    heldBytes -= static_cast<std::int64_t>(bytes);
    return static_cast<int>(syscall(SYS_munmap, pages, bytes));
}

} // extern "C"

namespace veskline::testing {

Counters Counters::now() {
    return {.allocations = ::allocations, .fileSystemCalls = ::fileSystemCalls, .heldBytes = ::heldBytes};
}

} // namespace veskline::testing
