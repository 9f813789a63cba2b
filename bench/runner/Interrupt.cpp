#include "runner/Interrupt.h"

#include <sys/signalfd.h>
#include <unistd.h>

#include <csignal>
#include <initializer_list>

namespace bench {

Interrupt::Interrupt() {
    std::signal(SIGPIPE, SIG_IGN); // a reader that left is no reason to leave data behind
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        sigaddset(&signals, signal);
    }
    sigprocmask(SIG_BLOCK, &signals, nullptr);
    descriptor_ = signalfd(-1, &signals, SFD_NONBLOCK | SFD_CLOEXEC);
}

Interrupt::~Interrupt() {
    close(descriptor_);
}

void Interrupt::check() const {
    signalfd_siginfo signal{};
    if (read(descriptor_, &signal, sizeof signal) == sizeof signal) {
        throw Interrupted(static_cast<int>(signal.ssi_signo));
    }
}

} // namespace bench
