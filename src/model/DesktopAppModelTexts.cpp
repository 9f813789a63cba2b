#include "model/DesktopAppModel.h"
#include "model/DesktopStatusFormatter.h"
#include "platform/text/LocalizedDate.h"
#include "rules/FileRules.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace veskline {

namespace {

constexpr const char* unknown = "--";

// One file is no basis for an estimate.
constexpr std::int64_t leastScannedForEstimate = 2;

std::int64_t remainingFiles(std::int64_t total, std::int64_t scanned) {
    return std::max<std::int64_t>(total - scanned, 0);
}

std::string countText(const std::optional<IngestStatusSnapshot>& status, std::int64_t IngestStatusSnapshot::* count) {
    return status ? std::to_string(*status.*count) : unknown;
}

} // namespace

std::string DesktopAppModel::userLabel() const {
    return currentUser_() ? currentUser_()->email.value_or(currentUser_()->id) : "Not logged in";
}

StatusPillPresentation DesktopAppModel::authPresentation() const {
    return {.text = authStatus_(), .kind = authStatusKind_};
}

StatusPillPresentation DesktopAppModel::runPresentation() const {
    return isRunning_() ? StatusPillPresentation{.text = "Running", .kind = StatusPillKind::ok}
                        : StatusPillPresentation{.text = "Stopped", .kind = StatusPillKind::muted};
}

StatusPillPresentation DesktopAppModel::ingestPresentation() const {
    return DesktopStatusFormatter::ingestPresentation(ingestStatus_(), surroundings_.clock.wallTime());
}

std::string DesktopAppModel::syncStatusLine() const {
    return syncStatus_().empty() ? runPresentation().text : syncStatus_();
}

std::string DesktopAppModel::supportedTypesText() {
    return fmt::format("Supported file types: {}. Other files are skipped.",
                       fmt::join(FileRules::supportedExtensions, ", "));
}

std::optional<std::string> DesktopAppModel::unsupportedIndicatorText() const {
    if (unsupportedFilesCount_() <= 0) {
        return std::nullopt;
    }
    return fmt::format("Unsupported file types skipped: {}. See Activity for details.", unsupportedFilesCount_());
}

std::string DesktopAppModel::ingestQueuedText() const {
    return countText(ingestStatus_(), &IngestStatusSnapshot::queued);
}

std::string DesktopAppModel::ingestRunningText() const {
    return countText(ingestStatus_(), &IngestStatusSnapshot::running);
}

std::string DesktopAppModel::ingestErrorsText() const {
    return countText(ingestStatus_(), &IngestStatusSnapshot::errors);
}

std::string DesktopAppModel::ingestLastText() const {
    if (!ingestStatus_() || !ingestStatus_()->lastIngestedAt) {
        return unknown;
    }
    return platform::localizedDateAndTime(*ingestStatus_()->lastIngestedAt, platform::currentDateCustoms());
}

std::string DesktopAppModel::indexRemainingText(const IndexingProgressSnapshot& progress) {
    if (!progress.totalFiles) {
        return unknown;
    }
    return fmt::format("{} of {}", remainingFiles(*progress.totalFiles, progress.scannedFiles), *progress.totalFiles);
}

std::string DesktopAppModel::indexEtaText() const {
    return indexEtaText(indexingProgress_(), surroundings_.clock.wallTime());
}

std::string DesktopAppModel::indexEtaText(const IndexingProgressSnapshot& progress, Time now) {
    if (!progress.totalFiles) {
        return unknown;
    }
    const std::int64_t remaining = remainingFiles(*progress.totalFiles, progress.scannedFiles);
    if (!progress.isActive) {
        return remaining == 0 ? "Done" : unknown;
    }
    if (!progress.startedAt || progress.scannedFiles < leastScannedForEstimate) {
        return unknown;
    }
    const double elapsed = std::max(std::chrono::duration<double>(now - *progress.startedAt).count(), 1.0);
    const double filesPerSecond = static_cast<double>(progress.scannedFiles) / elapsed;
    return formatDuration(static_cast<double>(remaining) / filesPerSecond);
}

std::string DesktopAppModel::formatDuration(double seconds) {
    // Beyond this no integer holds it; a scan of that length is no estimate either.
    constexpr auto tooLong = static_cast<double>(std::numeric_limits<std::int64_t>::max());
    if (!std::isfinite(seconds) || seconds < 0 || seconds >= tooLong) {
        return unknown;
    }
    const auto whole = static_cast<std::int64_t>(std::ceil(seconds));
    const std::int64_t minutes = whole / 60;
    if (whole < 60) {
        return fmt::format("{}s", whole);
    }
    if (minutes < 60) {
        return fmt::format("{}m {}s", minutes, whole % 60);
    }
    return fmt::format("{}h {}m", minutes / 60, minutes % 60);
}

std::string DesktopAppModel::folderLabel(const std::string& path) const {
    return DesktopStatusFormatter::folderLabel(path, homeFolder_, rootFolder_);
}

} // namespace veskline
