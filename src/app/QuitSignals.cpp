#include "app/QuitSignals.h"

#include <QCoreApplication>

#include <sys/signalfd.h>

#include <csignal>

namespace veskline {

namespace {

sigset_t quitting() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        sigaddset(&signals, number);
    }
    return signals;
}

} // namespace

// A program that this one starts, the user's browser for one, would inherit what is blocked (fork(2), execve(2)), and
// could then be ended by none of them.
QuitSignals::QuitSignals() {
    const sigset_t signals = quitting();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    pthread_atfork(nullptr, nullptr, [] {
        const sigset_t inherited = quitting();
        pthread_sigmask(SIG_UNBLOCK, &inherited, nullptr);
    });
    descriptor_ = platform::OpenDescriptor(signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK));
}

// QCoreApplication::quit() would ask the window first, which may go behind its icon instead.
void QuitSignals::quitApplication() {
    notifier_ = std::make_unique<QSocketNotifier>(descriptor(), QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, [] { QCoreApplication::exit(); });
}

} // namespace veskline
