#pragma once

#include "model/DesktopAppModel.h"

namespace veskline {

// Writes the model's log lines to standard output as they come, one a line, while there is no window to show them.
void writeLogToStandardOutput(DesktopAppModel& model);

} // namespace veskline
