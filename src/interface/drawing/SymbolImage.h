#pragma once

#include <QColor>
#include <QQuickPaintedItem>
#include <QString>
#include <QSvgRenderer>
#include <QtQmlIntegration>

#include <memory>

namespace veskline {

// One of the symbols of icons/ by its name, in one colour, crisp at any scale. An unknown name draws nothing.
class SymbolImage : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QString name READ name WRITE setName NOTIFY nameChanged)
    Q_PROPERTY(QColor color MEMBER color_ NOTIFY colorChanged)

public:
    explicit SymbolImage(QQuickItem* parent = nullptr);

    [[nodiscard]] QString name() const { return name_; }
    void setName(const QString& name);
    void paint(QPainter* painter) override;

Q_SIGNALS:
    void nameChanged();
    void colorChanged();

private:
    QString name_;
    QColor color_ = Qt::black;
    std::unique_ptr<QSvgRenderer> symbol_;
};

} // namespace veskline
