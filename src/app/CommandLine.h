#pragma once

#include <span>
#include <string>

namespace veskline {

// What the command line asks for. Without a word it runs the agent; each of the two words there are prints a text and
// ends. All else that a user may choose is chosen in the window.
struct CommandLine {
    // Of the process: it ended as it was asked to, or left the state folder to an agent that runs; it could not start
    // or go on; the command line asks for something that there isn't; without a window, nobody is signed in, or the
    // project could not be asked who is.
    enum ExitCode { ended = 0, failed = 1, misused = 2, signedOut = 3, unreachable = 4 };

    bool isRun = false;
    // For a command line that doesn't run: what to print, to standard output or, where misused, to standard error.
    std::string text;
    ExitCode exitCode = ended;

    // `arguments` are those of main, the program's name first.
    [[nodiscard]] static CommandLine parse(std::span<char* const> arguments);
};

} // namespace veskline
