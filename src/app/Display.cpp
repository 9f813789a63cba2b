#include "app/Display.h"

#include "app/ConsoleLine.h"

#include <QByteArray>
#include <QString>
#include <QtGlobal>

#include <cstdlib>

namespace veskline {

namespace {

QtMessageHandler qtMessageHandler = nullptr;

void handleMessage(QtMsgType type, const QMessageLogContext& context, const QString& message) {
    if (type != QtFatalMsg) {
        qtMessageHandler(type, context, message);
        return;
    }
    writeFailure("Veskline can't open its window: " + message.section(QLatin1Char('\n'), 0, 0).toStdString());
    writeFailure("Check DISPLAY and WAYLAND_DISPLAY, or start it without both: it then syncs without a window.");
    std::quick_exit(EXIT_FAILURE);
}

} // namespace

bool hasDisplay() {
    for (const char* const name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"}) {
        if (!qEnvironmentVariableIsEmpty(name)) {
            return true;
        }
    }
    return false;
}

void endWithoutReachableDisplay() {
    qtMessageHandler = qInstallMessageHandler(handleMessage);
}

} // namespace veskline
