#pragma once

#include <cstdio>
#include <string>
#include <string_view>

namespace veskline {

// The levels of syslog(3) that the agent uses. A line that only informs has none.
enum class Priority { none = 0, error = 3, warning = 4 };

// Writes one line to standard output or standard error. Control characters become escapes. Where the stream leads to
// the journal, the line carries its priority, as sd-daemon(3) describes; elsewhere it stands as it is.
// A reader that has gone away is no reason to end: the line is then dropped. May be called on any thread.
void writeLine(std::FILE* stream, Priority priority, std::string_view line);

// A failure, to standard error.
void writeFailure(std::string_view line);

// The line with its control characters as escapes (\n, \x1b): a file's name may hold any, and must neither forge a line
// nor steer a terminal.
[[nodiscard]] std::string onOneLine(std::string_view line);

} // namespace veskline
