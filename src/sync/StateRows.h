#pragma once

#include "platform/files/PathList.h"
#include "state/records/FileStateRow.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace veskline {

// The state rows of one root as they stood when a scan began, set against the files that it found.
//
// A row whose file was found is kept in short form under the place of that file in the list; every other row stands
// for a file that has gone. Filled row by row on the database's executor while the scan waits, read by the scan
// afterwards; never both at once. `files` is sorted and outlives this.
class StateRows {
public:
    StateRows(const platform::PathList& files, std::string rootPath);

    void add(const FileStateRowView& row);

    // The row of the file at `index` of the list; absent for a file seen for the first time.
    [[nodiscard]] std::optional<FileStateRow> previous(std::size_t index) const;

    // The rows without a file, in the order that the database gave them.
    [[nodiscard]] const std::vector<FileStateRow>& gone() const noexcept { return gone_; }

private:
    // What a scan asks of a row, beyond what the file's own path tells.
    struct Known {
        std::int64_t bytes;
        double mtimeMilliseconds;
        std::string storageKey;
        std::string sha256;
    };
    static constexpr std::uint32_t none = UINT32_MAX;

    const platform::PathList& files_;
    std::string rootPath_;
    std::vector<std::uint32_t> knownOfFile_; // place in known_, or none
    std::vector<Known> known_;
    std::vector<FileStateRow> gone_;
    std::size_t expected_ = 0; // rows mostly come in the order of the files: where the next one then is
};

} // namespace veskline
