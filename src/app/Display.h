#pragma once

namespace veskline {

// Whether there is a desktop to show a window on: an X or Wayland display, or a platform of Qt's that was asked for by
// QT_QPA_PLATFORM. Fixed from the start of the process.
[[nodiscard]] bool hasDisplay();

// From here on a display that can't be reached ends the process with a sentence on standard error and the exit code 1,
// where Qt would abort. Called before the application object is made.
void endWithoutReachableDisplay();

} // namespace veskline
