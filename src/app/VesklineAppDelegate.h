#pragma once

class QWindow;

namespace veskline {

// What the program does by itself once the desktop has launched it.
class VesklineAppDelegate {
public:
    // Called once, when the window is there: brings it to the front, over those of other programs, as an ordinary
    // application with its place among the desktop's windows. Where the desktop doesn't let a program do so, the
    // window asks for attention.
    static void applicationDidFinishLaunching(QWindow& window);
};

} // namespace veskline
