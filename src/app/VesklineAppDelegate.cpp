#include "app/VesklineAppDelegate.h"

#include <QWindow>

namespace veskline {

void VesklineAppDelegate::applicationDidFinishLaunching(QWindow& window) {
    window.raise();
    window.requestActivate();
}

} // namespace veskline
