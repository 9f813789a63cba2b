#pragma once

#include "platform/files/FileAttributes.h"
#include "platform/files/GrowingPages.h"
#include "platform/files/PathList.h"
#include "state/records/FileStateRow.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace veskline {

class FileStateRowView;

// The state rows of one root as they stood when a scan began, set against the files that it found.
//
// Of a row whose file was found the attributes and the digest are kept, 48 bytes under the place of that file in the
// list. Its key, which only a file that has changed asks for and nothing but a change of account alters, is left in
// the database. Every other row stands for a file that has gone and is kept whole.
//
// Filled row by row on the database's executor while the scan waits, read by the scan afterwards; never both at once.
// `files` is sorted and outlives this.
class StateRows {
public:
    explicit StateRows(const platform::PathList& files);

    void add(const FileStateRowView& row);

    // Whether the file at `index` had a row; false for one seen for the first time.
    [[nodiscard]] bool has(std::size_t index) const noexcept { return kept_[index].digest != Digest(); }
    // Whether it had one with these attributes. Exact on purpose: any difference, however small, is worth a look at the
    // content.
    [[nodiscard]] bool has(std::size_t index, const platform::FileAttributes& attributes) const noexcept;
    // The digest that it had, as the row holds it; empty where that was no digest of a content.
    [[nodiscard]] std::string sha256(std::size_t index) const;
    [[nodiscard]] const platform::FileAttributes& attributes(std::size_t index) const noexcept {
        return kept_[index].attributes;
    }

    // The rows without a file, in the order that the database gave them.
    [[nodiscard]] const std::vector<FileStateRow>& gone() const noexcept { return gone_; }

private:
    using Digest = std::array<std::uint8_t, 32>;
    struct Kept {
        platform::FileAttributes attributes;
        Digest digest; // zeros stand for no row
    };

    [[nodiscard]] static Digest digestOf(std::string_view sha256) noexcept;

    const platform::PathList& files_;
    platform::GrowingPages<Kept> kept_; // as many as files
    std::vector<FileStateRow> gone_;
    std::size_t expected_ = 0; // rows mostly come in the order of the files: where the next one then is
};

} // namespace veskline
