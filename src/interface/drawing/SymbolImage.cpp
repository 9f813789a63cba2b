#include "interface/drawing/SymbolImage.h"

#include <QImage>
#include <QPainter>

namespace veskline {

SymbolImage::SymbolImage(QQuickItem* parent) : QQuickPaintedItem(parent) {
    setImplicitSize(18, 18);
    connect(this, &SymbolImage::colorChanged, this, [this] { update(); });
}

void SymbolImage::setName(const QString& name) {
    if (name == name_) {
        return;
    }
    name_ = name;
    symbol_ = std::make_unique<QSvgRenderer>(QStringLiteral(":/qt/qml/Veskline/Drawing/icons/%1.svg").arg(name));
    Q_EMIT nameChanged();
    update();
}

void SymbolImage::paint(QPainter* painter) {
    if (!symbol_ || !symbol_->isValid()) {
        return;
    }
    const double pixelsAPoint = painter->device()->devicePixelRatioF() * painter->transform().m11();
    QImage shape((size() * pixelsAPoint).toSize(), QImage::Format_ARGB32_Premultiplied);
    shape.fill(Qt::transparent);
    QPainter tinted(&shape);
    tinted.setRenderHint(QPainter::Antialiasing);
    symbol_->render(&tinted, QRectF(shape.rect()));
    tinted.setCompositionMode(QPainter::CompositionMode_SourceIn);
    tinted.fillRect(shape.rect(), color_);
    tinted.end();
    painter->drawImage(boundingRect(), shape);
}

} // namespace veskline
