#pragma once

#include <exception>

namespace bench {

// The user or the system wants the run to end (SIGINT, SIGTERM, SIGHUP).
class Interrupted : public std::exception {
public:
    explicit Interrupted(int signal) : signal(signal) {}
    int signal;
};

// Holds those signals back for the process, so that it ends by unwinding: whatever a run made is removed on the way.
// One instance, built first. Programs that are started get their signals as usual.
class Interrupt {
public:
    Interrupt();
    ~Interrupt();
    Interrupt(const Interrupt&) = delete;
    Interrupt& operator=(const Interrupt&) = delete;

    // Readable when a signal has come.
    [[nodiscard]] int descriptor() const { return descriptor_; }
    // Throws Interrupted where one has come.
    void check() const;

private:
    int descriptor_;
};

} // namespace bench
