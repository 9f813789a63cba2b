#include "app/Heap.h"
#include "app/Process.h"
#include "interface/DesktopWindow.h"
#include "screenshots/Stage.h"
#include "window/FirstScan.h"
#include "window/FrameTimes.h"
#include "window/Reports.h"

#include <QAbstractItemModel>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTimer>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>

// The whole program with its window.

namespace {

using namespace bench;
using namespace veskline;

// Nothing answers where the hosted project is said to be, unless there is an `url`.
void settleIn(const std::string& folder, const std::string& url = "http://127.0.0.1:9") {
    setenv("VESK_STATE_DIR", folder.c_str(), 1);
    setenv("SUPABASE_URL", url.c_str(), 1);
    setenv("SUPABASE_ANON_KEY", "key", 1);
    setenv("DASHBOARD_URL", url.c_str(), 1);
    setenv("no_proxy", "127.0.0.1", 1);
}

// What it takes from the start of the process to its first frame is what the process takes in all.
void showOneFrame(const std::string& folder) {
    settleIn(folder);
    Process process;
    DesktopWindow window(QString::fromStdString(folder + "/window.ini"));
    window.show(DesktopAppModel::create(process.surroundings(), window.userSurroundings()));
    QObject::connect(window.window(), &QQuickWindow::frameSwapped, [] { std::quick_exit(EXIT_SUCCESS); });
    QGuiApplication::exec();
}

double milliseconds(std::chrono::microseconds time) {
    return std::chrono::duration<double, std::milli>(time).count();
}

QString lastRow(const QAbstractItemModel& rows) {
    return rows.data(rows.index(rows.rowCount() - 1, 0), Qt::UserRole + 1).toString();
}

// Shows `aSecond` log lines and as many progress reports for so long, and prints the frames that it made.
void takeReports(const std::string& folder, std::int64_t aSecond, std::chrono::milliseconds duration) {
    Stage stage(folder);
    stage.launch();
    stage.signIn();
    QQuickWindow& window = *stage.window().window();
    window.property("windowState").value<QObject*>()->setProperty("selectedDestinationRawValue", "activity");
    std::unique_ptr<FrameTimes> frames;
    std::unique_ptr<Reports> reports;
    QElapsedTimer sinceLastReport;
    QTimer::singleShot(500, [&] {
        frames = std::make_unique<FrameTimes>(window);
        reports = std::make_unique<Reports>(stage.model(), aSecond, duration);
    });
    QTimer watch;
    QObject::connect(&watch, &QTimer::timeout, [&] {
        if (!reports || !reports->areAllPosted()) {
            return;
        }
        if (!sinceLastReport.isValid()) {
            sinceLastReport.start();
        }
        const auto* const console = window.findChild<QQuickItem*>(QStringLiteral("console"));
        const auto* const rows = console->property("model").value<QAbstractItemModel*>();
        if (lastRow(*rows).toStdString() == reports->lastLine()) {
            std::printf("%zu %.3f %.3f %lld %lld\n", frames->count(), milliseconds(frames->quantile(0.999)),
                        milliseconds(frames->quantile(1)), static_cast<long long>(sinceLastReport.elapsed()),
                        static_cast<long long>(reports->timeAReport().count()));
            std::fflush(stdout);
            std::quick_exit(EXIT_SUCCESS);
        }
    });
    watch.start(1);
    QGuiApplication::exec();
}

// To its end; one that fails ends the process.
void run(FirstScan& scan) {
    try {
        scan.run();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        std::quick_exit(EXIT_FAILURE);
    }
}

// Prints the seconds that the scan took, and the frames that were made meanwhile.
void scan(const std::string& folder, const std::string& documents, const std::string& url, bool hasWindow) {
    settleIn(folder, url);
    FirstScan scan(documents, hasWindow, folder + "/window.ini");
    run(scan);
    std::printf("%.3f", milliseconds(scan.duration()) / 1000);
    if (scan.frames()) {
        std::printf(" %zu %.3f %.3f", scan.frames()->count(), milliseconds(scan.frames()->quantile(0.999)),
                    milliseconds(scan.frames()->quantile(1)));
    }
    std::puts("");
    std::fflush(stdout);
    std::quick_exit(EXIT_SUCCESS);
}

// Says when it is on watch, and stays so until it is ended.
void idle(const std::string& folder, const std::string& documents, const std::string& url, bool hasWindow) {
    settleIn(folder, url);
    FirstScan scan(documents, hasWindow, folder + "/window.ini");
    run(scan);
    std::puts("on watch");
    std::fflush(stdout);
    QGuiApplication::exec();
}

} // namespace

int main(int argc, char** argv) {
    const veskline::Heap heap;
    DesktopWindow::prepareApplication();
    const QGuiApplication application(argc, argv);
    const QStringList words = QGuiApplication::arguments();
    if (words.size() == 3 && words[1] == QLatin1String("window")) {
        showOneFrame(words[2].toStdString());
    } else if (words.size() == 5 && words[1] == QLatin1String("frames")) {
        takeReports(words[2].toStdString(), words[3].toLongLong(), std::chrono::milliseconds(words[4].toLongLong()));
    } else if (words.size() == 6 && words[1] == QLatin1String("idle")) {
        idle(words[2].toStdString(), words[3].toStdString(), words[4].toStdString(),
             words[5] == QLatin1String("shown"));
    } else if (words.size() == 6 && words[1] == QLatin1String("scan")) {
        scan(words[2].toStdString(), words[3].toStdString(), words[4].toStdString(),
             words[5] == QLatin1String("shown"));
    }
    std::fputs("veskline-bench-window window STATE | frames STATE REPORTS_A_SECOND MILLISECONDS\n"
               "                      scan | idle STATE DOCUMENTS URL shown|hidden\n",
               stderr);
    return 2;
}
