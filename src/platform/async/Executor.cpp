#include "platform/async/Executor.h"

#include <cassert>
#include <utility>

namespace async {

namespace {

thread_local const void* currentTarget = nullptr;
thread_local std::coroutine_handle<>* nextSlot = nullptr;
thread_local bool handsOver = false;
thread_local bool hasHandedOver = false;

} // namespace

void Executor::post(std::coroutine_handle<> coroutine) const {
    Job job;
    job.run = [](void* address) noexcept { resumeHere(std::coroutine_handle<>::from_address(address)); };
    job.context = coroutine.address();
    post(job);
}

bool Executor::isCurrent() const noexcept {
    return currentTarget == target_;
}

RunningOn::RunningOn(const void* target) noexcept : outer_(std::exchange(currentTarget, target)) {}

RunningOn::~RunningOn() {
    currentTarget = outer_;
}

HandOver::HandOver() noexcept : outer_(std::exchange(handsOver, true)) {}

HandOver::~HandOver() {
    handsOver = outer_;
}

bool HandOver::take() noexcept {
    return handsOver && !std::exchange(hasHandedOver, true);
}

bool HandOver::isTaken() noexcept {
    return hasHandedOver;
}

void HandOver::forget() noexcept {
    hasHandedOver = false;
}

// A coroutine may go on another thread at each suspension, so no thread-local may be cached across a resumption:
// these two stay out of line.
[[gnu::noinline]] void resumeHere(std::coroutine_handle<> coroutine) noexcept {
    std::coroutine_handle<> next;
    auto* const outer = std::exchange(nextSlot, &next);
    do {
        coroutine.resume();
        coroutine = std::exchange(next, {});
    } while (coroutine);
    nextSlot = outer;
}

[[gnu::noinline]] void resumeNext(std::coroutine_handle<> coroutine) noexcept {
    assert(nextSlot != nullptr && !*nextSlot);
    *nextSlot = coroutine;
}

} // namespace async
