#pragma once

#include "rules/FileRules.h"
#include "sync/AttributesAhead.h"
#include "sync/ScanResult.h"
#include "sync/StateRows.h"
#include "sync/UnavailableFolders.h"

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>

namespace veskline {

// The values of one scan of one root. They belong to that scan alone and end with it, so that scans which take turns
// on the coordinator's executor do not disturb each other.
class FolderScan {
public:
    // Walks the root and sorts what it finds: this is the order of upload. `helper` lends a second thread for that, and
    // for the looks at files that nothing waits between.
    FolderScan(std::string root, std::uint64_t run, bool tracksInitialIndexing, async::Executor helper,
               async::Clock clock, const std::atomic<bool>* isQuitting)
        : root_(std::move(root)), run_(run), tracksInitialIndexing_(tracksInitialIndexing),
          found_(walk(root_, helper, isQuitting)), rows_(found_.supportedFiles),
          attributes_(found_.supportedFiles, helper, clock) {}
    FolderScan(const FolderScan&) = delete;
    FolderScan& operator=(const FolderScan&) = delete;

    [[nodiscard]] const std::string& root() const noexcept { return root_; }
    [[nodiscard]] std::uint64_t run() const noexcept { return run_; }
    [[nodiscard]] bool tracksInitialIndexing() const noexcept { return tracksInitialIndexing_; }
    [[nodiscard]] const FileEnumerationResult& found() const noexcept { return found_; }
    [[nodiscard]] const platform::PathList& files() const noexcept { return found_.supportedFiles; }
    [[nodiscard]] StateRows& rows() noexcept { return rows_; }
    [[nodiscard]] const StateRows& rows() const noexcept { return rows_; }
    [[nodiscard]] AttributesAhead& attributes() noexcept { return attributes_; }

    std::optional<UnavailableFolders> unavailable;
    ScanCounters counters;

private:
    static FileEnumerationResult walk(const std::string& root, async::Executor helper,
                                      const std::atomic<bool>* isQuitting) {
        FileEnumerationResult found = FileRules::enumerateFiles(root, isQuitting, helper);
        found.supportedFiles.sort(helper);
        return found;
    }

    std::string root_;
    std::uint64_t run_;
    bool tracksInitialIndexing_;
    FileEnumerationResult found_;
    StateRows rows_;
    AttributesAhead attributes_;
};

} // namespace veskline
