#include "interface/adapter/StatusPill.h"

namespace veskline {

// The order of the enumeration in QML.
static_assert(static_cast<int>(StatusPillKind::accent) == 0 && static_cast<int>(StatusPillKind::ok) == 1 &&
              static_cast<int>(StatusPillKind::warn) == 2 && static_cast<int>(StatusPillKind::error) == 3 &&
              static_cast<int>(StatusPillKind::muted) == 4);

StatusPill::StatusPill(const StatusPillPresentation& presentation)
    : text(QString::fromStdString(presentation.text)), kind(static_cast<int>(presentation.kind)) {}

} // namespace veskline
