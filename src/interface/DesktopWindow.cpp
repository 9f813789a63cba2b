#include "interface/DesktopWindow.h"

#include "interface/adapter/DesktopModelAdapter.h"
#include "interface/adapter/FolderChooser.h"
#include "interface/adapter/WindowState.h"

#include <QDesktopServices>
#include <QGuiApplication>
#include <QIcon>
#include <QQmlApplicationEngine>
#include <QQmlError>
#include <QQuickWindow>
#include <QUrl>
#include <QtQml/qqmlextensionplugin.h>

#include <stdexcept>
#include <utility>

Q_IMPORT_QML_PLUGIN(Veskline_DrawingPlugin)
Q_IMPORT_QML_PLUGIN(Veskline_AdapterPlugin)
Q_IMPORT_QML_PLUGIN(Veskline_SharedViewsPlugin)
Q_IMPORT_QML_PLUGIN(Veskline_CardsPlugin)
Q_IMPORT_QML_PLUGIN(Veskline_InterfacePlugin)

namespace veskline {

class DesktopWindow::Content {
public:
    explicit Content(const QString& statePath) : state(statePath) {
        engine.addImportPath(QStringLiteral("qrc:/qt/qml"));
        QGuiApplication::setWindowIcon(QIcon(QStringLiteral(":/qt/qml/Veskline/Drawing/icons/veskline.svg")));
    }

    void load(const QVariantMap& properties) {
        QString reason;
        const QMetaObject::Connection listening =
            QObject::connect(&engine, &QQmlEngine::warnings, &engine,
                             [&reason](const QList<QQmlError>& errors) { reason = errors.last().toString(); });
        engine.setInitialProperties(properties);
        engine.load(QUrl(QStringLiteral("qrc:/qt/qml/Veskline/Interface/MainWindow.qml")));
        QObject::disconnect(listening);
        if (engine.rootObjects().isEmpty()) {
            throw std::runtime_error("Its window can't be built: " + reason.toStdString());
        }
    }

    WindowState state;
    FolderChooser folderChooser;
    std::unique_ptr<DesktopModelAdapter> adapter;
    QQmlApplicationEngine engine; // last: what it shows refers to the others
};

void DesktopWindow::prepareApplication() {
    QGuiApplication::setHighDpiScaleFactorRoundingPolicy(Qt::HighDpiScaleFactorRoundingPolicy::PassThrough);
    QQuickWindow::setTextRenderType(QQuickWindow::NativeTextRendering);
    QGuiApplication::setApplicationName(QStringLiteral("veskline"));
    QGuiApplication::setApplicationDisplayName(QStringLiteral("Veskline"));
    QGuiApplication::setDesktopFileName(QStringLiteral("veskline"));
}

DesktopWindow::DesktopWindow(const QString& statePath) : content_(std::make_unique<Content>(statePath)) {}

DesktopWindow::~DesktopWindow() = default;

QString DesktopWindow::defaultStatePath() {
    return WindowState::defaultPath();
}

UserSurroundings DesktopWindow::userSurroundings() {
    return UserSurroundings{.folderPicker = content_->folderChooser.picker(), .openURL = [](const std::string& url) {
                                QDesktopServices::openUrl(QUrl(QString::fromStdString(url)));
                            }};
}

void DesktopWindow::show(std::shared_ptr<DesktopAppModel> model) {
    content_->adapter = std::make_unique<DesktopModelAdapter>(std::move(model));
    content_->load({{QStringLiteral("model"), QVariant::fromValue(content_->adapter.get())},
                    {QStringLiteral("windowState"), QVariant::fromValue(&content_->state)},
                    {QStringLiteral("folderChooser"), QVariant::fromValue(&content_->folderChooser)},
                    {QStringLiteral("visible"), true}});
}

void DesktopWindow::showFailure(const std::vector<std::string>& lines) {
    QStringList shown;
    for (const std::string& line : lines) {
        shown += QString::fromStdString(line);
    }
    content_->load({{QStringLiteral("failureLines"), shown}, {QStringLiteral("visible"), true}});
}

void DesktopWindow::bringToFront() {
    QMetaObject::invokeMethod(window(), "bringToFront");
}

QQuickWindow* DesktopWindow::window() const {
    const QObjectList roots = content_->engine.rootObjects();
    return roots.isEmpty() ? nullptr : qobject_cast<QQuickWindow*>(roots.first());
}

} // namespace veskline
