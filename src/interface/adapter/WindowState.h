#pragma once

#include <QObject>
#include <QSettings>
#include <QString>
#include <QtQmlIntegration>

namespace veskline {

// What the window remembers from one launch to the next, in an INI file of its own. A file that can't be read counts as
// empty, one that can't be written forgets at the end of the process; neither is worth a word to the user.
class WindowState : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made with the window")
    // The name of the screen that was shown last, as it was stored, also one that this version doesn't know.
    Q_PROPERTY(QString selectedDestinationRawValue READ selectedDestinationRawValue WRITE setSelectedDestinationRawValue
                   NOTIFY selectedDestinationRawValueChanged)

public:
    explicit WindowState(const QString& path, QObject* parent = nullptr);

    // $XDG_CONFIG_HOME/veskline/window.ini, of the XDG Base Directory Specification.
    [[nodiscard]] static QString defaultPath();

    [[nodiscard]] QString selectedDestinationRawValue() const;
    void setSelectedDestinationRawValue(const QString& rawValue);

Q_SIGNALS:
    void selectedDestinationRawValueChanged();

private:
    QSettings settings_;
};

} // namespace veskline
