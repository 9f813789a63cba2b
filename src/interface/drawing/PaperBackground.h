#pragma once

#include <QColor>
#include <QQuickPaintedItem>
#include <QtQmlIntegration>

namespace veskline {

// The window's ground: `page`, over it white that fades from the top down, over that `glow` that fades from the top
// left corner. Painted once a size, since a gradient of the scene graph has no radial form.
class PaperBackground : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QColor page MEMBER page_ NOTIFY colorsChanged)
    Q_PROPERTY(QColor glow MEMBER glow_ NOTIFY colorsChanged)

public:
    explicit PaperBackground(QQuickItem* parent = nullptr);
    void paint(QPainter* painter) override;

Q_SIGNALS:
    void colorsChanged();

private:
    QColor page_;
    QColor glow_;
};

} // namespace veskline
