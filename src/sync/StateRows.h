#pragma once

#include "platform/files/FileAttributes.h"
#include "platform/files/GrowingPages.h"
#include "platform/files/PathList.h"
#include "state/records/FileStateRow.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace veskline {

// The state rows of one root as they stood when a scan began, set against the files that it found.
//
// Of a row whose file was found only what tells that nothing has to be done is kept, 24 bytes under the place of that
// file in the list. The rest of it lies in the database, where it is read again for the few files that have changed; a
// mark tells whether it is still that row. Every other row stands for a file that has gone and is kept whole.
//
// Filled row by row on the database's executor while the scan waits, read by the scan afterwards; never both at once.
// `files` is sorted and outlives this.
class StateRows {
public:
    explicit StateRows(const platform::PathList& files);

    void add(const FileStateRowView& row);

    // Whether the file at `index` had a row; false for one seen for the first time.
    [[nodiscard]] bool has(std::size_t index) const noexcept { return kept_[index].mark != 0; }
    // Whether it had one with these attributes. Exact on purpose: any difference, however small, is worth a look at the
    // content.
    [[nodiscard]] bool has(std::size_t index, const platform::FileAttributes& attributes) const noexcept;
    // Whether `row`, of this file, is the one that it had, and none that was written meanwhile.
    [[nodiscard]] bool had(std::size_t index, const FileStateRow& row) const noexcept;

    // The rows without a file, in the order that the database gave them.
    [[nodiscard]] const std::vector<FileStateRow>& gone() const noexcept { return gone_; }

private:
    struct Kept {
        platform::FileAttributes attributes;
        std::uint64_t mark; // of digest and key; 0 stands for no row
    };

    const platform::PathList& files_;
    platform::GrowingPages<Kept> kept_; // as many as files
    std::vector<FileStateRow> gone_;
    std::size_t expected_ = 0; // rows mostly come in the order of the files: where the next one then is
};

} // namespace veskline
