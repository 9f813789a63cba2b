// The clocks of the program under test, moved from outside, and the waits that depend on them: they look again every
// few milliseconds whether the moved clock has made them due.
#include "agent_stand/preload/Faults.h"

#include <dlfcn.h>
#include <poll.h>
#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <ctime>

using namespace agent_stand::preload;

namespace {

constexpr std::int64_t second = 1'000'000'000;
constexpr std::int64_t millisecond = 1'000'000;
constexpr std::int64_t glance = 5 * millisecond;

std::int64_t shiftOf(clockid_t clock) noexcept {
    switch (clock) {
    case CLOCK_MONOTONIC:
    case CLOCK_MONOTONIC_RAW:
    case CLOCK_MONOTONIC_COARSE:
        return monotonicShift();
    case CLOCK_REALTIME:
    case CLOCK_REALTIME_COARSE:
        return wallShift();
    default:
        return 0; // the time that a process or thread has used
    }
}

std::int64_t nanoseconds(const timespec& time) noexcept {
    return time.tv_sec * second + time.tv_nsec;
}

timespec timeOf(std::int64_t count) noexcept {
    return {.tv_sec = count / second, .tv_nsec = count % second};
}

std::int64_t realTime(clockid_t clock) noexcept {
    timespec time{};
    ::syscall(SYS_clock_gettime, clock, &time);
    return nanoseconds(time);
}

std::int64_t shiftedTime(clockid_t clock) noexcept {
    return realTime(clock) + shiftOf(clock);
}

} // namespace

extern "C" {

int clock_gettime(clockid_t clock, timespec* time) {
    const auto result = static_cast<int>(::syscall(SYS_clock_gettime, clock, time));
    if (const std::int64_t shift = result == 0 ? shiftOf(clock) : 0; shift != 0) {
        *time = timeOf(nanoseconds(*time) + shift);
    }
    return result;
}

int poll(pollfd* files, nfds_t count, int timeout) {
    static auto* const real = reinterpret_cast<int (*)(pollfd*, nfds_t, int)>(::dlsym(RTLD_NEXT, "poll"));
    if (timeout <= 0 || !isControlled()) {
        return real(files, count, timeout);
    }
    const std::int64_t end = shiftedTime(CLOCK_MONOTONIC) + timeout * millisecond;
    while (true) {
        const std::int64_t rest = std::max<std::int64_t>(end - shiftedTime(CLOCK_MONOTONIC), 0);
        const auto moment = static_cast<int>((std::min(rest, glance) + millisecond - 1) / millisecond);
        const int result = real(files, count, moment);
        if (result != 0 || rest == 0) {
            return result;
        }
    }
}

int pthread_cond_clockwait(pthread_cond_t* condition, pthread_mutex_t* mutex, clockid_t clock, const timespec* end) {
    static auto* const real = reinterpret_cast<int (*)(pthread_cond_t*, pthread_mutex_t*, clockid_t, const timespec*)>(
        ::dlsym(RTLD_NEXT, "pthread_cond_clockwait"));
    if (!isControlled()) {
        return real(condition, mutex, clock, end);
    }
    while (true) {
        const std::int64_t rest = nanoseconds(*end) - shiftedTime(clock);
        const timespec moment = timeOf(realTime(clock) + std::clamp<std::int64_t>(rest, 0, glance));
        const int result = real(condition, mutex, clock, &moment);
        if (result != ETIMEDOUT || rest <= 0) {
            return result;
        }
    }
}

} // extern "C"
