#pragma once

#include <coroutine>

namespace async {

// A piece of work for an executor: a function and the one pointer that it gets.
struct Job {
    void (*run)(void*) noexcept = nullptr;
    void* context = nullptr;
};

// Where work runs: a function that takes jobs and the object that it takes them for. A plain value, compared by what
// it points to; the object (a ThreadPool, a SerialExecutor, a MainExecutor, or a test's own) outlives every copy.
//
// The contract of that function: each job runs exactly once, never inside the call of post(), and happens after it.
// An executor that was closed for the end of the process drops jobs instead.
class Executor {
public:
    using Post = void (*)(void* target, Job job);

    constexpr Executor() = default;
    constexpr Executor(Post post, void* target) : post_(post), target_(target) {}

    void post(Job job) const { post_(target_, job); }
    // Posts a job that resumes `coroutine`.
    void post(std::coroutine_handle<> coroutine) const;

    // True inside a job of this executor, and not in one that runs nested within it on another.
    [[nodiscard]] bool isCurrent() const noexcept;

    explicit operator bool() const noexcept { return post_ != nullptr; }
    friend bool operator==(const Executor&, const Executor&) = default;

private:
    Post post_ = nullptr;
    void* target_ = nullptr;
};

// Marks the calling thread as running jobs for `target` as long as it lives. Every executor puts one around its jobs.
class RunningOn {
public:
    explicit RunningOn(const void* target) noexcept;
    ~RunningOn();
    RunningOn(const RunningOn&) = delete;
    RunningOn& operator=(const RunningOn&) = delete;

private:
    const void* outer_;
};

// Resumes `coroutine`, then in a loop whatever its end made ready on the same executor (resumeNext): neither recursion
// nor tail calls, so that a chain of any length leaves the stack flat.
void resumeHere(std::coroutine_handle<> coroutine) noexcept;

// Called at the end of a coroutine that resumeHere() runs: `coroutine` is resumed as soon as that one is suspended.
void resumeNext(std::coroutine_handle<> coroutine) noexcept;

} // namespace async
