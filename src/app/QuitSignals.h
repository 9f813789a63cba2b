#pragma once

#include "platform/files/OpenDescriptor.h"

#include <QSocketNotifier>

#include <memory>

namespace veskline {

// Turns SIGINT, SIGTERM and SIGHUP into a clean end of the event loop. The signals are blocked from construction on, so
// one that comes before the loop runs is not lost. Built before any other thread, which then inherits the blocking.
class QuitSignals {
public:
    QuitSignals();

    // Has the application quit at such a signal. Called once the application object is there.
    void quitApplication();

    // Can be read from the first such signal on (signalfd(2)).
    [[nodiscard]] int descriptor() const noexcept { return descriptor_.number(); }

private:
    platform::OpenDescriptor descriptor_;
    std::unique_ptr<QSocketNotifier> notifier_;
};

} // namespace veskline
