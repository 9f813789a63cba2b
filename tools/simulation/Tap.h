#pragma once

#include "platform/async/Executor.h"

#include <utility>

namespace veskline::simulation {

// An executor that passes its jobs on to another and tells afterwards whether one of them has run: so what a store may
// have written is looked at after each of its jobs, and not after everybody else's.
class Tap {
public:
    explicit Tap(async::Executor base) : base_(base) {}
    Tap(const Tap&) = delete;
    Tap& operator=(const Tap&) = delete;

    [[nodiscard]] async::Executor executor() noexcept { return {&Tap::post, this}; }
    // Since the last call.
    [[nodiscard]] bool hasRun() noexcept { return std::exchange(hasRun_, false); }

private:
    struct Passed {
        Tap* tap;
        async::Job job;
    };
    static void post(void* self, async::Job job) {
        auto* const tap = static_cast<Tap*>(self);
        tap->base_.post(async::Job{&Tap::run, new Passed{tap, job}});
    }
    static void run(void* context) noexcept {
        auto* const passed = static_cast<Passed*>(context);
        const auto [tap, job] = *passed;
        delete passed;
        job.run(job.context);
        tap->hasRun_ = true;
    }

    async::Executor base_;
    bool hasRun_ = false;
};

} // namespace veskline::simulation
