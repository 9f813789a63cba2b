#pragma once

#include "agent_stand/MachineControl.h"
#include "agent_stand/Program.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <string>
#include <vector>

namespace agent_stand {

// The machine below a program under test: its disk, its descriptors and its clocks, going wrong on demand. A library
// that is loaded before all others (ld.so(8), LD_PRELOAD) stands between the program and the kernel.
//
// One object is one set of faults, for the programs that are started with its environment.
class Machine {
public:
    enum class Action : std::uint8_t {
        fail,      // with `error`
        kill,      // SIGKILL, before the call
        killAfter, // SIGKILL, after it
        hold,      // until it is released, then the call is made
    };
    static constexpr std::uint32_t forEver = std::numeric_limits<std::uint32_t>::max();
    static constexpr std::size_t mostFaults = 16;
    static constexpr std::size_t longestPath = 511;

    // `call` is named by what it does, whatever variant of it is used.
    //   "open"   open, openat           "read"  read, pread           "write"    write, pwrite
    //   "sync"   fsync, fdatasync       "list"  getdents64            "look"     statx
    //   "rename" rename (the old name)  "unlink"                      "truncate" ftruncate
    //   "socket" (its path is "socket")
    struct Fault {
        std::string call;
        // A glob over the absolute path (fnmatch(3)), of `longestPath` bytes at most and without a blank; * also
        // stands for slashes.
        std::string path;
        Action action = Action::fail;
        int error = 0;
        std::uint32_t skip = 0; // leave the first matching calls alone, then take so many
        std::uint32_t count = forEver;
    };

    // The control file is made anew in `folder`. Throws std::system_error, and std::invalid_argument for more than
    // `mostFaults` or a path that is none of those.
    Machine(const std::filesystem::path& folder, const std::vector<Fault>& faults);
    ~Machine();
    Machine(const Machine&) = delete;
    Machine& operator=(const Machine&) = delete;

    // Adds what a program needs to run on this machine.
    [[nodiscard]] Program::Environment added(Program::Environment environment) const;

    // Both clocks go on by so much, and waits end that this makes due.
    void advance(std::chrono::nanoseconds time) noexcept;
    // The wall clock alone is set, forward or back.
    void moveWallClock(std::chrono::nanoseconds by) noexcept;

    // The faults are in force from the start on; a call is counted for `skip` only while they are.
    void turnOn(bool isOn) noexcept;

    // How many calls have met a fault.
    [[nodiscard]] std::uint32_t hits() const noexcept;
    // Waits until so many calls have been held in all. False where the patience of Program ended before.
    [[nodiscard]] bool waitForHeld(std::uint32_t calls) const;
    // Lets what is held go on, and whatever is held later.
    void release() noexcept;

private:
    std::string file_;
    std::string faults_;
    MachineControl* control_;
};

} // namespace agent_stand
