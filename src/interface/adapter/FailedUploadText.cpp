#include "interface/adapter/FailedUploadText.h"

#include "model/DesktopPresentationFormatter.h"

namespace veskline {

FailedUploadText::FailedUploadText(const FailedUploadItem& item)
    : name(QString::fromStdString(DesktopPresentationFormatter::failedUploadName(item))),
      error(QString::fromStdString(DesktopPresentationFormatter::failedUploadError(item))),
      lastFailedLine(QString::fromStdString(DesktopPresentationFormatter::lastFailedLine(item))) {}

} // namespace veskline
