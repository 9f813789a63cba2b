#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QQuickWindow>
#include <QUrl>
#include <QtQml/qqmlextensionplugin.h>

#include <cstdlib>

Q_IMPORT_QML_PLUGIN(Veskline_DrawingPlugin)
Q_IMPORT_QML_PLUGIN(Veskline_SharedViewsPlugin)

// A window of the agent's own components alone: one screen of fixed words, with no model, no engine, no threads. It
// ends with its first frame.
int main(int argc, char** argv) {
    const QGuiApplication application(argc, argv);
    QQmlApplicationEngine engine;
    engine.addImportPath(QStringLiteral("qrc:/qt/qml"));
    engine.load(QUrl(QStringLiteral("qrc:/qt/qml/WindowFloor/floors/window/Page.qml")));
    auto* const window =
        engine.rootObjects().isEmpty() ? nullptr : qobject_cast<QQuickWindow*>(engine.rootObjects().first());
    if (window == nullptr) {
        return EXIT_FAILURE;
    }
    QObject::connect(window, &QQuickWindow::frameSwapped, [] { std::quick_exit(EXIT_SUCCESS); });
    return QGuiApplication::exec();
}
