#pragma once

#include <QSocketNotifier>

#include <memory>

namespace veskline {

// Turns SIGINT, SIGTERM and SIGHUP into a clean end of the event loop. The signals are blocked from construction on, so
// one that comes before the loop runs is not lost. Built before any other thread, which then inherits the blocking.
class QuitSignals {
public:
    QuitSignals();
    ~QuitSignals();
    QuitSignals(const QuitSignals&) = delete;
    QuitSignals& operator=(const QuitSignals&) = delete;

    // Has the application quit at such a signal. Called once the application object is there.
    void quitApplication();

private:
    int descriptor_ = -1; // signalfd(2)
    std::unique_ptr<QSocketNotifier> notifier_;
};

} // namespace veskline
