#pragma once

#include <QColor>
#include <QQuickPaintedItem>
#include <QtQmlIntegration>

namespace veskline {

// The shadow of a plain rectangle, blurred by a Gaussian whose deviation is half of `radius`. The item reaches `radius`
// beyond the rectangle on each side: give it that size and lay it where the shadow falls.
class SoftShadow : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QColor color MEMBER color_ NOTIFY lookChanged)
    Q_PROPERTY(double radius MEMBER radius_ NOTIFY lookChanged)

public:
    explicit SoftShadow(QQuickItem* parent = nullptr);
    void paint(QPainter* painter) override;

Q_SIGNALS:
    void lookChanged();

private:
    QColor color_;
    double radius_ = 0;
};

} // namespace veskline
