#include "app/AgentPlace.h"
#include "app/CommandLine.h"
#include "app/ConsoleLine.h"
#include "app/ConsoleLog.h"
#include "app/Display.h"
#include "app/Heap.h"
#include "app/Process.h"
#include "app/QuitSignals.h"
#include "app/SignedOutReport.h"
#include "app/VesklineNativeApp.h"
#include "interface/DesktopWindow.h"
#include "platform/async/Spawn.h"
#include "platform/files/FileError.h"
#include "state/AppPaths.h"
#include "state/PublicConfigLoader.h"

#include <QGuiApplication>
#include <QQuickWindow>

#include <fmt/format.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <string>

using veskline::AgentPlace;
using veskline::CommandLine;

namespace {

// An agent that is quitting ends within two seconds.
constexpr std::chrono::seconds patience{5};

void printFailure(const veskline::VesklineNativeApp& app) {
    for (const std::string& line : app.failureContent()) {
        veskline::writeFailure(line);
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

int runWithWindow(int argc, char** argv, veskline::QuitSignals& signals, AgentPlace* place) {
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
        veskline::writeFailure(fmt::format("Veskline can't start. {}", error.what()));
        return CommandLine::failed;
    }
    if (place != nullptr) {
        place->onLaterStart([&window] {
            window.bringToFront();
            return true;
        });
    }
    QGuiApplication::exec();
    leave(process, app.model() ? CommandLine::ended : CommandLine::failed);
}

int runWithoutWindow(int argc, char** argv, veskline::QuitSignals& signals, AgentPlace* place,
                     const std::string& stateFolder) {
    const QCoreApplication application(argc, argv);
    signals.quitApplication();
    veskline::Process process;
    veskline::AppSurroundings surroundings = process.surroundings();
    veskline::SignedOutReport report(surroundings.main, surroundings.clock, stateFolder.empty() ? "/tmp" : stateFolder);
    surroundings.onSession = report.handler();
    const veskline::VesklineNativeApp app(surroundings);
    if (!app.model()) {
        printFailure(app);
        return CommandLine::failed;
    }
    if (place != nullptr) {
        place->onLaterStart([] { return false; });
    }
    veskline::writeLogToStandardOutput(*app.model());
    report.observe(*app.model());
    const async::TaskHandle bootstrap =
        async::spawn(surroundings.main, [model = app.model()] { return model->bootstrap(); });
    const int exitCode = QCoreApplication::exec();
    leave(process, exitCode);
}

// Empty where it can't be made, and each store falls back to a file of its own.
std::string makeStateFolder() {
    try {
        return veskline::AppPaths::stateDirectory();
    } catch (const platform::FileError& error) {
        const char* const variable = std::getenv("VESK_STATE_DIR");
        const bool isChosen = variable != nullptr && *variable != '\0';
        veskline::writeFailure(
            fmt::format("{}{}. Veskline keeps session, queue and state in /tmp instead, which the system may empty.",
                        isChosen ? "VESK_STATE_DIR can't be used: " : "", error.what()));
        return {};
    }
}

// The place of this agent; none without a state folder.
std::unique_ptr<AgentPlace> openPlace(const std::string& stateFolder) {
    try {
        return stateFolder.empty() ? nullptr : std::make_unique<AgentPlace>(stateFolder);
    } catch (const platform::FileError&) {
        return nullptr;
    }
}

int leaveToAnother(AgentPlace::Holder holder, const std::string& stateFolder) {
    const bool isSilent = holder == AgentPlace::Holder::anotherThatIsSilent;
    const char* words = "without a window";
    if (isSilent) {
        words = "but does not answer";
    } else if (holder == AgentPlace::Holder::anotherThatShowsItsWindow) {
        words = "and shows its window";
    }
    veskline::writeFailure(fmt::format("Veskline already runs on {}, {}.", stateFolder, words));
    return isSilent ? CommandLine::failed : CommandLine::ended;
}

int run(int argc, char** argv) {
    const veskline::Heap heap;
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN); // a file at the limit of its size is a failure of its write
    veskline::QuitSignals signals;
    for (const std::string& fault : veskline::PublicConfigLoader::environmentFaults()) {
        veskline::writeFailure(fault);
    }
    const std::string stateFolder = makeStateFolder();
    const std::unique_ptr<AgentPlace> place = openPlace(stateFolder);
    const AgentPlace::Holder holder =
        place ? place->settle(patience, signals.descriptor()) : AgentPlace::Holder::thisProcess;
    if (holder == AgentPlace::Holder::unknown) {
        return CommandLine::ended; // by a signal, before it began
    }
    if (holder != AgentPlace::Holder::thisProcess) {
        return leaveToAnother(holder, stateFolder);
    }
    return veskline::hasDisplay() ? runWithWindow(argc, argv, signals, place.get())
                                  : runWithoutWindow(argc, argv, signals, place.get(), stateFolder);
}

} // namespace

int main(int argc, char** argv) {
    const CommandLine command = CommandLine::parse({argv, static_cast<std::size_t>(argc)});
    if (command.isRun) {
        return run(argc, argv);
    }
    std::fputs(command.text.c_str(), command.exitCode == CommandLine::misused ? stderr : stdout);
    return command.exitCode;
}
