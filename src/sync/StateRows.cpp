#include "sync/StateRows.h"

#include <functional>
#include <string_view>

namespace veskline {

namespace {

// Never 0. It only has to tell a row from what may replace it in the course of a scan.
std::uint64_t markOf(std::string_view digest, std::string_view key) noexcept {
    constexpr std::uint64_t odd = 0x9E37'79B9'7F4A'7C15;
    const std::hash<std::string_view> hash;
    return (hash(digest) * odd + hash(key)) | 1U;
}

} // namespace

StateRows::StateRows(const platform::PathList& files) : files_(files) {
    kept_.appendZeros(files.size());
}

void StateRows::add(const FileStateRowView& row) {
    const std::optional<std::size_t> index = files_.find(row.path, expected_);
    if (index) {
        expected_ = *index + 1;
        kept_[*index] = Kept{.attributes = {.bytes = row.bytes, .mtimeMilliseconds = row.mtimeMilliseconds},
                             .mark = markOf(row.sha256, row.storageKey)};
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

bool StateRows::has(std::size_t index, const platform::FileAttributes& attributes) const noexcept {
    return has(index) && kept_[index].attributes == attributes;
}

bool StateRows::had(std::size_t index, const FileStateRow& row) const noexcept {
    return has(index, {.bytes = row.bytes, .mtimeMilliseconds = row.mtimeMilliseconds}) &&
           kept_[index].mark == markOf(row.sha256, row.storageKey);
}

} // namespace veskline
