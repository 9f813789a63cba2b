#include "model/DesktopPresentationFormatter.h"

#include "model/DesktopStatusFormatter.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>

namespace veskline::DesktopPresentationFormatter {

std::string folderSelectionSummary(const std::vector<std::string>& folders, const std::string& homePath,
                                   const std::string& rootPath) {
    switch (folders.size()) {
    case 0:
        return "No folders selected";
    case 1:
        return DesktopStatusFormatter::folderLabel(folders.front(), homePath, rootPath);
    default:
        return fmt::format("{} folders selected", folders.size());
    }
}

std::string indexedFilesText(const IndexingProgressSnapshot& progress) {
    if (progress.totalFiles) {
        return fmt::format("{} / {}", std::min(progress.scannedFiles, *progress.totalFiles), *progress.totalFiles);
    }
    return progress.scannedFiles != 0 ? std::to_string(progress.scannedFiles) : "--";
}

std::optional<double> indexingFraction(const IndexingProgressSnapshot& progress) {
    const std::int64_t total = progress.totalFiles.value_or(0);
    if (total <= 0) {
        return std::nullopt;
    }
    const std::int64_t scanned = std::clamp<std::int64_t>(progress.scannedFiles, 0, total);
    return static_cast<double>(scanned) / static_cast<double>(total);
}

std::string folderCountText(std::size_t count) {
    return count == 1 ? "1 folder" : fmt::format("{} folders", count);
}

std::string failedUploadName(const FailedUploadItem& item) {
    if (item.file && item.file->path) {
        return *item.file->path;
    }
    if (item.file && item.file->storageKey) {
        return *item.file->storageKey;
    }
    return item.fileID.value_or("Unknown file");
}

std::string failedUploadError(const FailedUploadItem& item) {
    return "Error: " + item.error.value_or("unknown");
}

std::string lastFailedLine(const FailedUploadItem& item, const platform::DateCustoms& customs) {
    const std::string when = item.createdAt ? platform::localizedDateAndTime(*item.createdAt, customs) : "Unknown time";
    return "Last failed: " + when;
}

} // namespace veskline::DesktopPresentationFormatter
