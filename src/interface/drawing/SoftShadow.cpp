#include "interface/drawing/SoftShadow.h"

#include <QImage>
#include <QPainter>

#include <cmath>
#include <cstddef>
#include <numbers>
#include <vector>

namespace veskline {

namespace {

// How dark the shadow of a stretch from `inset` to `length - inset` is at the middle of each of its pixels. A blurred
// rectangle is the product of two of these.
std::vector<double> blurredStretch(int length, double inset, double deviation) {
    std::vector<double> darkness(static_cast<std::size_t>(length));
    const double scale = 1 / (deviation * std::numbers::sqrt2);
    for (int i = 0; i < length; ++i) {
        const double at = i + 0.5;
        darkness[static_cast<std::size_t>(i)] =
            0.5 * (std::erf((at - inset) * scale) - std::erf((at - (length - inset)) * scale));
    }
    return darkness;
}

} // namespace

SoftShadow::SoftShadow(QQuickItem* parent) : QQuickPaintedItem(parent) {
    connect(this, &SoftShadow::lookChanged, this, [this] { update(); });
}

void SoftShadow::paint(QPainter* painter) {
    const double pixelsAPoint = painter->transform().m11();
    const QSize size(static_cast<int>(std::ceil(width() * pixelsAPoint)),
                     static_cast<int>(std::ceil(height() * pixelsAPoint)));
    if (size.isEmpty() || radius_ <= 0) {
        return;
    }
    const double inset = radius_ * pixelsAPoint;
    const std::vector<double> across = blurredStretch(size.width(), inset, inset / 2);
    const std::vector<double> down = blurredStretch(size.height(), inset, inset / 2);
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    for (int y = 0; y < size.height(); ++y) {
        auto* const row = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < size.width(); ++x) {
            const double darkness = across[static_cast<std::size_t>(x)] * down[static_cast<std::size_t>(y)];
            const int alpha = static_cast<int>(std::lround(color_.alpha() * darkness));
            row[x] = qPremultiply(qRgba(color_.red(), color_.green(), color_.blue(), alpha));
        }
    }
    painter->drawImage(boundingRect(), image);
}

} // namespace veskline
