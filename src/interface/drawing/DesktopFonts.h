#pragma once

#include <QFont>
#include <QObject>
#include <QString>
#include <QtQmlIntegration>

namespace veskline {

// The two font families of the window: the ones it was drawn for where they are installed, else those of the desktop.
// And the one thing that a Text item can't do by itself: find the size at which a text fits.
//
// A QML singleton, used on the main thread.
class DesktopFonts : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(QString sans READ sans CONSTANT)
    Q_PROPERTY(QString mono READ mono CONSTANT)

public:
    explicit DesktopFonts(QObject* parent = nullptr);

    [[nodiscard]] QString sans() const { return sans_; }
    [[nodiscard]] QString mono() const { return mono_; }

    // The largest whole size from `font`'s own down to `leastShare` of it at which `text`, wrapped to `width`, needs no
    // more than `lines` lines; the least size where none fits. Letter spacing shrinks with the size.
    [[nodiscard]] Q_INVOKABLE static int fittingPixelSize(const QString& text, const QFont& font, double width,
                                                          int lines, double leastShare);

private:
    QString sans_;
    QString mono_;
};

} // namespace veskline
