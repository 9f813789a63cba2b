#pragma once

#include "model/StatusPill.h"

#include <QObject>
#include <QString>
#include <QtQmlIntegration>

namespace veskline {

// A status with its colour, as QML takes it; `kind` counts as StatusPillKind does there.
class StatusPill {
    Q_GADGET
    QML_VALUE_TYPE(statusPill)
    Q_PROPERTY(QString text MEMBER text)
    Q_PROPERTY(int kind MEMBER kind)

public:
    StatusPill() = default;
    explicit StatusPill(const StatusPillPresentation& presentation);

    QString text;
    int kind = static_cast<int>(StatusPillKind::muted);
};

} // namespace veskline
