#include "app/ConsoleLog.h"
#include "app/Display.h"
#include "app/Process.h"
#include "app/QuitSignals.h"
#include "app/VesklineNativeApp.h"
#include "interface/DesktopWindow.h"
#include "platform/async/Spawn.h"

#include <QGuiApplication>
#include <QQuickWindow>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>

namespace {

void printFailure(const veskline::VesklineNativeApp& app) {
    for (const std::string& line : app.failureContent()) {
        std::fprintf(stderr, "%s\n", veskline::onOneLine(line).c_str());
    }
}

// Ends the process as it stands: nothing is cancelled, and nothing that waits is unwound.
[[noreturn]] void leave(veskline::Process& process, int exitCode) {
    process.quit();
    std::fflush(stdout);
    std::quick_exit(exitCode);
}

void show(const veskline::VesklineNativeApp& app, veskline::DesktopWindow& window) {
    if (app.model()) {
        window.show(app.model());
    } else {
        window.showFailure(app.failureContent());
    }
    app.appDelegate().applicationDidFinishLaunching(*window.window());
}

int runWithWindow(int argc, char** argv, veskline::QuitSignals& signals) {
    veskline::endWithoutReachableDisplay();
    veskline::DesktopWindow::prepareApplication();
    const QGuiApplication application(argc, argv);
    signals.quitApplication();
    veskline::Process process;
    veskline::DesktopWindow window(veskline::DesktopWindow::defaultStatePath());
    const veskline::VesklineNativeApp app(process.surroundings(), window.userSurroundings());
    try {
        show(app, window);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "Veskline can't start. %s\n", error.what());
        return EXIT_FAILURE;
    }
    QGuiApplication::exec();
    leave(process, app.model() ? EXIT_SUCCESS : EXIT_FAILURE);
}

int runWithoutWindow(int argc, char** argv, veskline::QuitSignals& signals) {
    const QCoreApplication application(argc, argv);
    signals.quitApplication();
    veskline::Process process;
    const veskline::VesklineNativeApp app(process.surroundings());
    if (!app.model()) {
        printFailure(app);
        return EXIT_FAILURE;
    }
    veskline::writeLogToStandardOutput(*app.model());
    const async::TaskHandle bootstrap =
        async::spawn(process.surroundings().main, [model = app.model()] { return model->bootstrap(); });
    QCoreApplication::exec();
    leave(process, EXIT_SUCCESS);
}

} // namespace

int main(int argc, char** argv) {
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN); // a file at the limit of its size is a failure of its write
    veskline::QuitSignals signals;
    return veskline::hasDisplay() ? runWithWindow(argc, argv, signals) : runWithoutWindow(argc, argv, signals);
}
