#pragma once

#include "model/DesktopAppModel.h"

#include <QObject>
#include <QString>
#include <QtQmlIntegration>

namespace veskline {

// The three lines that tell of one failed upload, as QML takes them.
class FailedUploadText {
    Q_GADGET
    QML_VALUE_TYPE(failedUploadText)
    Q_PROPERTY(QString name MEMBER name)
    Q_PROPERTY(QString error MEMBER error)
    Q_PROPERTY(QString lastFailedLine MEMBER lastFailedLine)

public:
    FailedUploadText() = default;
    explicit FailedUploadText(const FailedUploadItem& item);

    QString name;
    QString error;
    QString lastFailedLine;
};

} // namespace veskline
