#include "interface/drawing/PaperBackground.h"

#include <QLinearGradient>
#include <QPainter>
#include <QRadialGradient>

namespace veskline {

namespace {

constexpr float whiteAtTop = 0.56F;
constexpr float glowAtCorner = 0.16F;
constexpr double glowStartRadius = 10;
constexpr double glowEndRadius = 560;

QColor withOpacity(QColor color, float opacity) {
    color.setAlphaF(opacity);
    return color;
}

} // namespace

PaperBackground::PaperBackground(QQuickItem* parent) : QQuickPaintedItem(parent) {
    setOpaquePainting(true);
    connect(this, &PaperBackground::colorsChanged, this, [this] { update(); });
}

void PaperBackground::paint(QPainter* painter) {
    const QRectF all = boundingRect();
    painter->fillRect(all, page_);

    QLinearGradient fromTop(all.topLeft(), all.bottomLeft());
    fromTop.setColorAt(0, withOpacity(Qt::white, whiteAtTop));
    fromTop.setColorAt(1, withOpacity(Qt::white, 0));
    painter->fillRect(all, fromTop);

    QRadialGradient fromCorner(all.topLeft(), glowEndRadius);
    fromCorner.setColorAt(0, withOpacity(glow_, glowAtCorner));
    fromCorner.setColorAt(glowStartRadius / glowEndRadius, withOpacity(glow_, glowAtCorner));
    fromCorner.setColorAt(1, withOpacity(glow_, 0));
    painter->fillRect(all, fromCorner);
}

} // namespace veskline
