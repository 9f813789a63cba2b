#include "model/DesktopStatusFormatter.h"

#include <fmt/format.h>

#include <algorithm>

namespace veskline::DesktopStatusFormatter {

namespace {

using namespace std::chrono;

// In microseconds, which is what the hosted side counts in: the span of two moments may be more nanoseconds than an
// integer holds.
minutes ageOf(Time moment, Time now) {
    const auto span = floor<microseconds>(now).time_since_epoch() - floor<microseconds>(moment).time_since_epoch();
    return std::max(duration_cast<minutes>(span), 0min);
}

bool isStalled(const IngestStatusSnapshot& status, Time now) {
    return status.queued > 0 && status.running == 0 && status.oldestQueuedAt &&
           ageOf(*status.oldestQueuedAt, now) >= stalledAge;
}

std::string activity(const IngestStatusSnapshot& status) {
    std::string parts = status.running > 0 ? fmt::format("{} running", status.running) : "";
    if (status.queued > 0) {
        parts += fmt::format("{}{} queued", parts.empty() ? "" : ", ", status.queued);
    }
    return parts;
}

} // namespace

StatusPillPresentation ingestPresentation(const std::optional<IngestStatusSnapshot>& status, Time now) {
    if (!status) {
        return {.text = "Ingestion: Unknown", .kind = StatusPillKind::muted};
    }
    if (status->errors > 0) {
        return {.text = fmt::format("Ingestion: Errors ({})", status->errors), .kind = StatusPillKind::error};
    }
    if (isStalled(*status, now)) {
        return {.text = fmt::format("Ingestion: Worker not running ({} queued, {}m)", status->queued,
                                    ageOf(*status->oldestQueuedAt, now).count()),
                .kind = StatusPillKind::warn};
    }
    if (status->queued > 0 || status->running > 0) {
        return {.text = fmt::format("Ingestion: Active ({})", activity(*status)), .kind = StatusPillKind::ok};
    }
    return {.text = "Ingestion: Idle", .kind = StatusPillKind::muted};
}

std::string folderLabel(const std::string& path, const std::optional<std::string>& homePath,
                        const std::optional<std::string>& rootPath) {
    if (homePath == path) {
        return "Home (all folders) - " + path;
    }
    if (rootPath == path) {
        return "All files (full disk) - " + path;
    }
    return path;
}

} // namespace veskline::DesktopStatusFormatter
