// The kernel's calls as the program under test makes them: each looks for its fault, and else goes on to the C library.
// In a translation unit without the headers that declare them, since these may be macros or bear attributes there.
#include "agent_stand/preload/Faults.h"

#include <dlfcn.h>
#include <sys/types.h>

#include <cstdarg>

using namespace agent_stand::preload;

namespace {

// The same function in the library behind this one.
template <class Function>
Function* next(const char* name) noexcept {
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

template <class Result, class Call>
Result unless(Outcome outcome, Call call) noexcept {
    if (outcome == Outcome::failed) {
        return static_cast<Result>(-1);
    }
    const Result result = call();
    if (outcome == Outcome::killAfterwards) {
        killSelf();
    }
    return result;
}

} // namespace

// NOLINTBEGIN(*-reserved-identifier): these names are the C library's.
#define FORWARD_OPEN(NAME)                                                                                             \
    int NAME(const char* path, int flags, ...) {                                                                       \
        va_list list;                                                                                                  \
        va_start(list, flags);                                                                                         \
        const mode_t mode = va_arg(list, mode_t);                                                                      \
        va_end(list);                                                                                                  \
        static auto* const real = next<int(const char*, int, ...)>(#NAME);                                             \
        return unless<int>(onPath("open", path), [&] { return real(path, flags, mode); });                             \
    }

#define FORWARD_OPENAT(NAME)                                                                                           \
    int NAME(int folder, const char* path, int flags, ...) {                                                           \
        va_list list;                                                                                                  \
        va_start(list, flags);                                                                                         \
        const mode_t mode = va_arg(list, mode_t);                                                                      \
        va_end(list);                                                                                                  \
        static auto* const real = next<int(int, const char*, int, ...)>(#NAME);                                        \
        return unless<int>(onEntry("open", folder, path), [&] { return real(folder, path, flags, mode); });            \
    }

#define FORWARD_ON_DESCRIPTOR(RESULT, NAME, CALL, PARAMETERS, ARGUMENTS)                                               \
    RESULT NAME PARAMETERS {                                                                                           \
        static auto* const real = next<RESULT PARAMETERS>(#NAME);                                                      \
        return unless<RESULT>(onDescriptor(CALL, file), [&] { return real ARGUMENTS; });                               \
    }

extern "C" {

struct statx;

FORWARD_OPEN(open)
FORWARD_OPEN(open64)
FORWARD_OPENAT(openat)
FORWARD_OPENAT(openat64)
FORWARD_ON_DESCRIPTOR(ssize_t, read, "read", (int file, void* bytes, size_t size), (file, bytes, size))
FORWARD_ON_DESCRIPTOR(ssize_t, pread, "read", (int file, void* bytes, size_t size, off_t at), (file, bytes, size, at))
FORWARD_ON_DESCRIPTOR(ssize_t, pread64, "read", (int file, void* bytes, size_t size, off_t at), (file, bytes, size, at))
FORWARD_ON_DESCRIPTOR(ssize_t, write, "write", (int file, const void* bytes, size_t size), (file, bytes, size))
FORWARD_ON_DESCRIPTOR(ssize_t, pwrite, "write", (int file, const void* bytes, size_t size, off_t at),
                      (file, bytes, size, at))
FORWARD_ON_DESCRIPTOR(ssize_t, pwrite64, "write", (int file, const void* bytes, size_t size, off_t at),
                      (file, bytes, size, at))
FORWARD_ON_DESCRIPTOR(int, fsync, "sync", (int file), (file))
FORWARD_ON_DESCRIPTOR(int, fdatasync, "sync", (int file), (file))
FORWARD_ON_DESCRIPTOR(int, ftruncate, "truncate", (int file, off_t size), (file, size))
FORWARD_ON_DESCRIPTOR(int, ftruncate64, "truncate", (int file, off_t size), (file, size))
FORWARD_ON_DESCRIPTOR(ssize_t, getdents64, "list", (int file, void* bytes, size_t size), (file, bytes, size))

int rename(const char* from, const char* to) {
    static auto* const real = next<int(const char*, const char*)>("rename");
    return unless<int>(onPath("rename", from), [&] { return real(from, to); });
}

int unlink(const char* path) {
    static auto* const real = next<int(const char*)>("unlink");
    return unless<int>(onPath("unlink", path), [&] { return real(path); });
}

int statx(int folder, const char* path, int flags, unsigned mask, struct statx* answer) {
    static auto* const real = next<int(int, const char*, int, unsigned, struct statx*)>("statx");
    return unless<int>(onEntry("look", folder, path), [&] { return real(folder, path, flags, mask, answer); });
}

int socket(int family, int type, int protocol) {
    static auto* const real = next<int(int, int, int)>("socket");
    return unless<int>(onPath("socket", "socket"), [&] { return real(family, type, protocol); });
}

} // extern "C"
// NOLINTEND(*-reserved-identifier)
