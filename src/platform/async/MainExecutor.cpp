#include "platform/async/MainExecutor.h"

#include <QMetaObject>
#include <QObject>
#include <QThread>

#include <cassert>

namespace async {

MainExecutor::MainExecutor() : receiver_(std::make_unique<QObject>()) {}

MainExecutor::~MainExecutor() {
    assert(receiver_->thread() == QThread::currentThread());
    close();
}

Executor MainExecutor::executor() const noexcept {
    return {&MainExecutor::post, const_cast<MainExecutor*>(this)};
}

void MainExecutor::close() {
    const std::lock_guard lock(mutex_);
    isClosed_ = true;
    jobs_.clear();
}

void MainExecutor::post(void* executor, Job job) {
    auto& self = *static_cast<MainExecutor*>(executor);
    const std::lock_guard lock(self.mutex_);
    if (self.isClosed_) {
        return;
    }
    self.jobs_.push_back(job);
    self.wake();
}

// Under the lock, so that the receiver can't go away in the midst of it.
void MainExecutor::wake() {
    if (!isWakeUpUnderWay_) {
        isWakeUpUnderWay_ = true;
        QMetaObject::invokeMethod(receiver_.get(), [this] { takeTurn(); }, Qt::QueuedConnection);
    }
}

void MainExecutor::takeTurn() {
    {
        const std::lock_guard lock(mutex_);
        isWakeUpUnderWay_ = false;
    }
    const auto end = std::chrono::steady_clock::now() + longestTurn;
    Job job;
    while (takeNext(job)) {
        const RunningOn here(this);
        job.run(job.context);
        if (std::chrono::steady_clock::now() >= end) {
            return;
        }
    }
}

// Where more jobs are left behind the one taken, a wake-up for them is on its way before it runs: it may run a nested
// loop, and it may use this turn up.
bool MainExecutor::takeNext(Job& job) {
    const std::lock_guard lock(mutex_);
    if (jobs_.empty()) {
        return false;
    }
    job = jobs_.front();
    jobs_.pop_front();
    if (!jobs_.empty()) {
        wake();
    }
    return true;
}

} // namespace async
