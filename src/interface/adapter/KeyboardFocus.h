#pragma once

#include <QPointer>
#include <QQuickItem>
#include <QQuickWindow>
#include <QtQmlIntegration>

namespace veskline {

// Where the keyboard's focus is, while the user moves it by keyboard: what a focus ring goes around and what is brought
// into view. A press of the mouse hides it until the next key that moves the focus.
class KeyboardFocus : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QQuickWindow* window READ window WRITE setWindow NOTIFY windowChanged REQUIRED)
    // Null while the mouse leads, and where nothing has the focus.
    Q_PROPERTY(QQuickItem* item READ item NOTIFY itemChanged)

public:
    using QObject::QObject;

    [[nodiscard]] QQuickWindow* window() const { return window_; }
    void setWindow(QQuickWindow* window);
    [[nodiscard]] QQuickItem* item() const;

    bool eventFilter(QObject* watched, QEvent* event) override;

Q_SIGNALS:
    void windowChanged();
    void itemChanged();

private:
    void setLed(bool isLed);

    QPointer<QQuickWindow> window_;
    bool isLed_ = false; // by the keyboard
};

} // namespace veskline
