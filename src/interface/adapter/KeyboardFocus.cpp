#include "interface/adapter/KeyboardFocus.h"

#include <QEvent>
#include <QKeyEvent>

namespace veskline {

namespace {

bool movesFocus(const QKeyEvent& event) {
    return event.key() == Qt::Key_Tab || event.key() == Qt::Key_Backtab;
}

} // namespace

void KeyboardFocus::setWindow(QQuickWindow* window) {
    if (window == window_) {
        return;
    }
    if (window_) {
        window_->removeEventFilter(this);
        window_->disconnect(this);
    }
    window_ = window;
    if (window_) {
        window_->installEventFilter(this);
        connect(window_, &QQuickWindow::activeFocusItemChanged, this, &KeyboardFocus::itemChanged);
    }
    Q_EMIT windowChanged();
    Q_EMIT itemChanged();
}

QQuickItem* KeyboardFocus::item() const {
    QQuickItem* const item = window_ && isLed_ ? window_->activeFocusItem() : nullptr;
    return item != nullptr && item->activeFocusOnTab() ? item : nullptr;
}

bool KeyboardFocus::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::KeyPress && movesFocus(static_cast<const QKeyEvent&>(*event))) {
        setLed(true);
    } else if (event->type() == QEvent::MouseButtonPress) {
        setLed(false);
    }
    return QObject::eventFilter(watched, event);
}

void KeyboardFocus::setLed(bool isLed) {
    if (isLed != isLed_) {
        isLed_ = isLed;
        Q_EMIT itemChanged();
    }
}

} // namespace veskline
