#include "app/QuitSignals.h"

#include <QCoreApplication>

#include <sys/signalfd.h>
#include <unistd.h>

#include <csignal>

namespace veskline {

QuitSignals::QuitSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        sigaddset(&signals, number);
    }
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    descriptor_ = signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
}

QuitSignals::~QuitSignals() {
    notifier_.reset();
    close(descriptor_);
}

// QCoreApplication::quit() would ask the window first, which may go behind its icon instead.
void QuitSignals::quitApplication() {
    notifier_ = std::make_unique<QSocketNotifier>(descriptor_, QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, [] { QCoreApplication::exit(); });
}

} // namespace veskline
