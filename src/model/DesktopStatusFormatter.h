#pragma once

#include "model/StatusPill.h"
#include "state/records/IngestStatusSnapshot.h"
#include "state/records/Time.h"

#include <chrono>
#include <optional>
#include <string>

// Words for single states of the agent. Pure functions.
namespace veskline::DesktopStatusFormatter {

// From this age on, in whole minutes, a queue of which nothing runs has no worker.
inline constexpr std::chrono::minutes stalledAge{10};

// Errors win over a stalled queue, and a stalled queue over activity. Depends on `now`: the same status can become a
// warning with no new data.
[[nodiscard]] StatusPillPresentation ingestPresentation(const std::optional<IngestStatusSnapshot>& status, Time now);

// A folder of the selection; home and root, where they are known, are named, and home wins where the two are one.
[[nodiscard]] std::string folderLabel(const std::string& path, const std::optional<std::string>& homePath,
                                      const std::optional<std::string>& rootPath);

} // namespace veskline::DesktopStatusFormatter
