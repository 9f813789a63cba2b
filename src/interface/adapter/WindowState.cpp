#include "interface/adapter/WindowState.h"

#include <QStandardPaths>

namespace veskline {

namespace {

constexpr QLatin1String destinationKey("desktop.destination");

} // namespace

WindowState::WindowState(const QString& path, QObject* parent)
    : QObject(parent), settings_(path, QSettings::IniFormat) {}

QString WindowState::defaultPath() {
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           QStringLiteral("/veskline/window.ini");
}

QString WindowState::selectedDestinationRawValue() const {
    return settings_.value(destinationKey, QStringLiteral("overview")).toString();
}

void WindowState::setSelectedDestinationRawValue(const QString& rawValue) {
    if (rawValue != selectedDestinationRawValue() || !settings_.contains(destinationKey)) {
        settings_.setValue(destinationKey, rawValue);
        settings_.sync();
        Q_EMIT selectedDestinationRawValueChanged();
    }
}

} // namespace veskline
