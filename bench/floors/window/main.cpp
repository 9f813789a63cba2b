#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QQuickWindow>
#include <QUrl>

#include <cstdlib>

// The least program that shows a page of this kind: one QML file of cards with texts, in one window. It ends with its
// first frame.
int main(int argc, char** argv) {
    const QGuiApplication application(argc, argv);
    QQmlApplicationEngine engine(QUrl(QStringLiteral("qrc:/qt/qml/WindowFloor/floors/window/Page.qml")));
    auto* const window =
        engine.rootObjects().isEmpty() ? nullptr : qobject_cast<QQuickWindow*>(engine.rootObjects().first());
    if (window == nullptr) {
        return EXIT_FAILURE;
    }
    QObject::connect(window, &QQuickWindow::frameSwapped, [] { std::quick_exit(EXIT_SUCCESS); });
    return QGuiApplication::exec();
}
