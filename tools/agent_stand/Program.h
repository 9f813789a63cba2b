#pragma once

#include <sys/types.h>

#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace agent_stand {

// A built program under test: started with an environment of its own, read line by line, and signalled. Killed with
// the object where it still runs.
class Program {
public:
    using Environment = std::map<std::string, std::string>;
    // How long whatever should come in a moment is waited for; only a failing run waits that long.
    static constexpr std::chrono::seconds patience{300};

    // Nothing but what a build with a sanitizer is told by the environment.
    [[nodiscard]] static Environment emptyEnvironment();

    // `name` is that of an executable in the folder where this process's own lies. Throws std::runtime_error where it
    // can't be started.
    Program(const std::string& name, const std::vector<std::string>& arguments, const Environment& environment);
    ~Program();
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    void signal(int number) const;

    // Waits for the end, after which all output is there. The exit code, or minus the number of the signal that ended
    // it.
    int wait();

    // Waits until standard output has had `count` lines that begin so. False where the program ended before, or
    // `atMost` has passed.
    [[nodiscard]] bool waitForLine(std::string_view beginning, std::size_t count = 1,
                                   std::chrono::milliseconds atMost = patience);
    // No further line comes: the program has ended, or is about to.
    [[nodiscard]] bool isOutputOver() const;

    [[nodiscard]] std::vector<std::string> output() const;
    // The last line of standard output that begins so.
    [[nodiscard]] std::string lastLine(std::string_view beginning) const;
    // The first 4 KiB of standard error.
    [[nodiscard]] std::string errors() const;

private:
    void readOutput(int descriptor);

    pid_t pid_ = -1;
    bool hasEnded_ = false;
    int status_ = 0;
    int errors_; // a file in memory
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<std::string> output_;
    bool isOutputOver_ = false;
    std::thread reader_;
};

} // namespace agent_stand
