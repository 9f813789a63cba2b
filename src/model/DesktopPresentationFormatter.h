#pragma once

#include "platform/text/LocalizedDate.h"
#include "state/records/FailedUploadItem.h"
#include "state/records/IndexingProgressSnapshot.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

// Words and shares for the figures that screens show. Pure functions.
namespace veskline::DesktopPresentationFormatter {

// Of one folder its label, of more their number.
[[nodiscard]] std::string folderSelectionSummary(const std::vector<std::string>& folders, const std::string& homePath,
                                                 const std::string& rootPath);

// "3 / 10", "3" while the total is not known, "--" where nothing is. Never more than the total.
[[nodiscard]] std::string indexedFilesText(const IndexingProgressSnapshot& progress);

// From 0 to 1; absent without a total, and of none at all.
[[nodiscard]] std::optional<double> indexingFraction(const IndexingProgressSnapshot& progress);

[[nodiscard]] std::string folderCountText(std::size_t count);

// The three lines of a failed upload: its file by the best name that is known, the error of its job (that of the file
// isn't shown), and when the job was made.
[[nodiscard]] std::string failedUploadName(const FailedUploadItem& item);
[[nodiscard]] std::string failedUploadError(const FailedUploadItem& item);
[[nodiscard]] std::string lastFailedLine(const FailedUploadItem& item,
                                         const platform::DateCustoms& customs = platform::currentDateCustoms());

} // namespace veskline::DesktopPresentationFormatter
