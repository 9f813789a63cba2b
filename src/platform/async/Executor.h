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

// Says of a post made during its life that the job which makes it ends right after, as that of a coroutine does which
// suspends for what it has posted. A ThreadPool then wakes no thread: the one that posts is about to be free, and takes
// the job from the queue unless another comes first. Everybody else posts as ever.
//
// A post that is handed over stands in the queue like any other, so the contract above holds: it never runs inside
// post(), and at most one a job is left to the thread that posts. It is only a matter of who is woken: where the job
// goes on all the same, the other waits for its end, or for any thread that becomes free before.
class HandOver {
public:
    HandOver() noexcept;
    ~HandOver();
    HandOver(const HandOver&) = delete;
    HandOver& operator=(const HandOver&) = delete;

    // For executors. take() is true where the post under way may be left to this thread, for the first one of a job;
    // isTaken() is true in a job that has left one, so that it must end; forget() comes before each job.
    [[nodiscard]] static bool take() noexcept;
    [[nodiscard]] static bool isTaken() noexcept;
    static void forget() noexcept;

private:
    bool outer_;
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
