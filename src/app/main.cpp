#include "app/ConsoleLog.h"
#include "app/Process.h"
#include "app/QuitSignals.h"
#include "app/VesklineNativeApp.h"
#include "platform/async/Spawn.h"

#include <QCoreApplication>

#include <csignal>
#include <cstdio>
#include <cstdlib>

namespace {

int showFailure(const veskline::VesklineNativeApp& app) {
    for (const std::string& line : app.failureContent()) {
        std::fprintf(stderr, "%s\n", veskline::onOneLine(line).c_str());
    }
    return EXIT_FAILURE;
}

} // namespace

int main(int argc, char** argv) {
    std::signal(SIGPIPE, SIG_IGN);
    veskline::QuitSignals signals;
    QCoreApplication application(argc, argv);
    veskline::Process process;
    const veskline::VesklineNativeApp app(process.surroundings());
    if (!app.model()) {
        return showFailure(app);
    }
    veskline::writeLogToStandardOutput(*app.model());
    signals.quitApplication();
    const async::TaskHandle bootstrap =
        async::spawn(process.surroundings().main, [model = app.model()] { return model->bootstrap(); });
    QCoreApplication::exec();
    process.quit();
    std::fflush(stdout);
    std::quick_exit(EXIT_SUCCESS);
}
