#pragma once

#include "model/DesktopAppModel.h"

#include <string>
#include <string_view>

namespace veskline {

// Writes the model's log lines to standard output as they come, one a line, while there is no window to show them.
// A reader that has gone away is no reason to end: the lines are then dropped.
void writeLogToStandardOutput(DesktopAppModel& model);

// Says on standard error, as soon as the start has found no user, that nothing is synced and what to do about it: there
// is no window that would.
void reportMissingUser(DesktopAppModel& model);

// The line with its control characters as escapes (\n, \x1b): a file's name may hold any, and must neither forge a line
// nor steer a terminal.
[[nodiscard]] std::string onOneLine(std::string_view line);

} // namespace veskline
