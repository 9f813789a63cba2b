// veskline-screenshots FOLDER SCENE
//
// Renders one state of the window to FOLDER/SCENE.png, from the real program over a local project of its own. Without
// SCENE it lists the scenes. QT_SCALE_FACTOR=2 gives twice the pixels. ./dev screenshots renders them all.

#include "screenshots/Scenes.h"

#include "interface/DesktopWindow.h"
#include "platform/text/ErrorDescription.h"

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QImage>
#include <QQuickItem>
#include <QQuickWindow>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <stdexcept>
#include <string_view>

namespace {

namespace fs = std::filesystem;

// Until the adapter has flushed, the layouts have settled and short animations are over.
void settle() {
    QElapsedTimer time;
    time.start();
    while (time.elapsed() < 400) {
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents, 20);
    }
}

void scroll(QQuickWindow& window, double share) {
    if (auto* const screen = window.findChild<QQuickItem*>(QStringLiteral("scaffold"))) {
        const double distance = screen->property("contentHeight").toDouble() - screen->height();
        screen->setProperty("contentY", std::max(0.0, distance * share));
    }
}

void render(const veskline::Scene& scene, const fs::path& folder) {
    const fs::path work = fs::temp_directory_path() / "veskline-screenshots"; // seen in the pictures
    fs::remove_all(work);
    QQuickWindow* const window = scene.play(work);
    window->resize(scene.size);
    settle();
    scroll(*window, scene.scroll);
    settle();
    const fs::path file = folder / (scene.name + ".png");
    const bool isWritten = window->grabWindow().save(QString::fromStdString(file.string()));
    fs::remove_all(work);
    if (!isWritten) {
        throw std::runtime_error(file.string() + " can't be written.");
    }
}

} // namespace

int main(int argc, char** argv) {
    const auto& scenes = veskline::allScenes();
    if (argc == 1) {
        for (const veskline::Scene& scene : scenes) {
            std::puts(scene.name.c_str());
        }
        return EXIT_SUCCESS;
    }
    if (argc != 3) {
        std::fputs("veskline-screenshots takes FOLDER SCENE, or nothing and lists the scenes.\n", stderr);
        return 2;
    }
    const auto scene = std::ranges::find(scenes, std::string_view(argv[2]), &veskline::Scene::name);
    if (scene == scenes.end()) {
        std::fprintf(stderr, "There is no scene %s.\n", argv[2]);
        return 2;
    }
    veskline::DesktopWindow::prepareApplication();
    const QGuiApplication application(argc, argv);
    int exitCode = EXIT_SUCCESS;
    try {
        render(*scene, argv[1]);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s: %s\n", argv[2], platform::describe(error).c_str());
        exitCode = EXIT_FAILURE;
    }
    std::quick_exit(exitCode);
}
