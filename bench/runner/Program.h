#pragma once

#include "measure/Sample.h"
#include "runner/Interrupt.h"

#include <chrono>
#include <string>
#include <sys/types.h>
#include <vector>

namespace bench {

// A program that was started, with its standard output. One that still runs at the end of this is killed.
class Program {
public:
    // `command` begins with the path. Throws std::runtime_error where it cannot be started.
    Program(std::vector<std::string> command, const Interrupt& interrupt);
    ~Program();
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    // The next line that it prints. Throws std::runtime_error at the end of its output, Interrupted.
    [[nodiscard]] std::string readLine();
    void terminate() const;
    [[nodiscard]] pid_t process() const noexcept { return process_; }

    // Waits for its end and gives what it cost: by its own account where it gives one, else from its start to its end
    // as the system tells (wait4(2)). Throws std::runtime_error where it failed, Interrupted.
    Sample finish();

private:
    bool readOutput();
    [[nodiscard]] Sample reap();

    std::vector<std::string> command_;
    const Interrupt& interrupt_;
    std::chrono::steady_clock::time_point start_;
    pid_t process_ = 0;
    int output_ = -1;
    std::string text_;
};

} // namespace bench
