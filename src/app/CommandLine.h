#pragma once

#include <span>
#include <string>

namespace veskline {

// What the command line asks for: nothing to run, or one of two words that print a text and end. All that a user may
// choose is chosen in the window.
struct CommandLine {
    // Of the process: it ended as it was asked to, it could not start or go on, the command line asks for what isn't.
    enum ExitCode { ended = 0, failed = 1, misused = 2 };

    bool isRun = false;
    // For a command line that doesn't run: what to print, to standard output or, where misused, to standard error.
    std::string text;
    ExitCode exitCode = ended;

    // `arguments` are those of main, the program's name first.
    [[nodiscard]] static CommandLine parse(std::span<char* const> arguments);
};

} // namespace veskline
