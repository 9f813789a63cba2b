#include "sync/StateRows.h"

#include "rules/FileRules.h"

#include <utility>

namespace veskline {

StateRows::StateRows(const platform::PathList& files, std::string rootPath)
    : files_(files), rootPath_(std::move(rootPath)), knownOfFile_(files.size(), none) {}

void StateRows::add(const FileStateRowView& row) {
    const std::optional<std::size_t> index = files_.find(row.path, expected_);
    if (index) {
        expected_ = *index + 1;
        knownOfFile_[*index] = static_cast<std::uint32_t>(known_.size());
        known_.push_back(Known{row.bytes, row.mtimeMilliseconds, std::string(row.storageKey), std::string(row.sha256)});
        return;
    }
    gone_.push_back(FileStateRow{
        .path = std::string(row.path),
        .rootPath = std::string(row.rootPath),
        .logicalPath = std::string(row.logicalPath),
        .storageKey = std::string(row.storageKey),
        .sha256 = std::string(row.sha256),
        .bytes = row.bytes,
        .mtimeMilliseconds = row.mtimeMilliseconds,
    });
}

std::optional<FileStateRow> StateRows::previous(std::size_t index) const {
    if (knownOfFile_[index] == none) {
        return std::nullopt;
    }
    const Known& known = known_[knownOfFile_[index]];
    const std::string path(files_[index]);
    return FileStateRow{
        .path = path,
        .rootPath = rootPath_,
        .logicalPath = FileRules::logicalPath(path, rootPath_),
        .storageKey = known.storageKey,
        .sha256 = known.sha256,
        .bytes = known.bytes,
        .mtimeMilliseconds = known.mtimeMilliseconds,
    };
}

} // namespace veskline
