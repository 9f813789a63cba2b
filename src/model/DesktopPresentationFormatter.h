#pragma once

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

} // namespace veskline::DesktopPresentationFormatter
